#pragma once

#include <ocidl.h>

#include "com/Part.h"

namespace tlk {

/// The control as a control: it has no keys of its own, and looks the same whatever the container's
/// surroundings.
class OleControl final : public Part<IOleControl> {
 public:
  using Part::Part;

  STDMETHODIMP GetControlInfo(CONTROLINFO* info) override {
    return info != nullptr ? E_NOTIMPL : E_POINTER;
  }
  STDMETHODIMP OnMnemonic(MSG*) override { return E_NOTIMPL; }
  STDMETHODIMP OnAmbientPropertyChange(DISPID) override { return S_OK; }

  /// Events are raised all the same: a message whose event was held back would be lost.
  STDMETHODIMP FreezeEvents(BOOL) override { return S_OK; }
};

}  // namespace tlk
