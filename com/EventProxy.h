#pragma once

#include "com/ConnectionPoint.h"
#include "control/Tlkc.h"

namespace tlk {

/// Raises the control's events: calls every sink of `_ITlkcEvents`, one after the other, on the
/// calling thread.
///
/// The control and the sink are held while the sink runs, so it may unadvise itself or another,
/// which is then not called, release the control, or end its container. The results of sinks are
/// ignored: after one that fails the others are called all the same. A sink that is advised while
/// an event is being raised hears it only if it takes an empty slot that the walk has not come to
/// yet; it hears the next event in any case.
class CProxy_ITlkcEvents final : public ITlkcEvents {
 public:
  CProxy_ITlkcEvents(IUnknown& controller, ConnectionPoint& sinks)
      : m_controller(controller), m_sinks(sinks) {}

  void Fire_ConnStatusChanged(TLK_ConnStatusEnum status);
  void Fire_TlkMsgRecieved(BSTR messageType, BSTR message);

 private:
  void ConnStatusChanged(TLK_ConnStatusEnum status) override { Fire_ConnStatusChanged(status); }
  void TlkMsgRecieved(std::u16string_view messageType, std::u16string_view message) override;

  void Fire(DISPID event, VARIANT* arguments, UINT count);

  IUnknown& m_controller;
  ConnectionPoint& m_sinks;
};

}  // namespace tlk
