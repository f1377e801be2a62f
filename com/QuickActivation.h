#pragma once

#include <ocidl.h>

#include "com/ConnectionPointContainer.h"
#include "com/Part.h"

namespace tlk {

/// Exchanges in one call what a container and the control otherwise ask each other one by one.
class QuickActivation final : public Part<IQuickActivate> {
 public:
  QuickActivation(IUnknown& controller, IOleObject& object, IViewObjectEx& view,
                  ConnectionPointContainer& points)
      : Part(controller), m_object(object), m_view(view), m_points(points) {}

  STDMETHODIMP QuickActivate(QACONTAINER* container, QACONTROL* control) override;
  STDMETHODIMP SetContentExtent(LPSIZEL extent) override;
  STDMETHODIMP GetContentExtent(LPSIZEL extent) override;

 private:
  HRESULT Connect(const QACONTAINER& container, QACONTROL& control);

  IOleObject& m_object;
  IViewObjectEx& m_view;
  ConnectionPointContainer& m_points;
};

}  // namespace tlk
