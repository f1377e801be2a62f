#pragma once

#include <ocidl.h>

#include "com/InPlaceActivation.h"
#include "com/Part.h"

namespace tlk {

/// The control as an object that is active in its container's window. It is never active without a
/// window of its own, so the methods for windowless objects do nothing.
class InPlaceObject final : public Part<IOleInPlaceObjectWindowless> {
 public:
  InPlaceObject(IUnknown& controller, InPlaceActivation& activation)
      : Part(controller), m_activation(activation) {}

  STDMETHODIMP GetWindow(HWND* window) override;
  STDMETHODIMP ContextSensitiveHelp(BOOL enter) override;
  STDMETHODIMP InPlaceDeactivate() override;
  STDMETHODIMP UIDeactivate() override;
  STDMETHODIMP SetObjectRects(LPCRECT position, LPCRECT clip) override;
  STDMETHODIMP ReactivateAndUndo() override;
  STDMETHODIMP OnWindowMessage(UINT message, WPARAM wParam, LPARAM lParam,
                               LRESULT* result) override;
  STDMETHODIMP GetDropTarget(IDropTarget** target) override;

 private:
  InPlaceActivation& m_activation;
};

/// What the container's frame and document windows tell the control that has the user's attention.
class InPlaceActiveObject final : public Part<IOleInPlaceActiveObject> {
 public:
  InPlaceActiveObject(IUnknown& controller, InPlaceActivation& activation)
      : Part(controller), m_activation(activation) {}

  STDMETHODIMP GetWindow(HWND* window) override;
  STDMETHODIMP ContextSensitiveHelp(BOOL enter) override;
  STDMETHODIMP TranslateAccelerator(LPMSG message) override;
  STDMETHODIMP OnFrameWindowActivate(BOOL isActive) override;
  STDMETHODIMP OnDocWindowActivate(BOOL isActive) override;
  STDMETHODIMP ResizeBorder(LPCRECT border, IOleInPlaceUIWindow* window, BOOL isFrame) override;
  STDMETHODIMP EnableModeless(BOOL enable) override;

 private:
  InPlaceActivation& m_activation;
};

}  // namespace tlk
