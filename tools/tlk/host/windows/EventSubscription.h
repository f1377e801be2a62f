#pragma once

#include <ocidl.h>

#include "platform/windows/ComPtr.h"
#include "tools/tlk/host/ControlDriver.h"

namespace tlk::host {

/// Passes the events of a control on to `events` for as long as it stands. It ends outside of any
/// event.
class EventSubscription {
 public:
  /// Finds the control's default source of events; throws ComFailure.
  EventSubscription(const ComPtr<IUnknown>& control, DrivenEvents& events);
  ~EventSubscription();

  EventSubscription(const EventSubscription&) = delete;
  EventSubscription& operator=(const EventSubscription&) = delete;

 private:
  ComPtr<IConnectionPoint> m_source;
  DWORD m_cookie = 0;
};

}  // namespace tlk::host
