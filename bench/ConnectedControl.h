#pragma once

#include <cstdint>
#include <string_view>

#include "bench/Loopback.h"
#include "control/NativeControl.h"

namespace tlk::bench {

/// A host that counts what it is told.
class CountingHost : public ITlkcEvents {
 public:
  void ConnStatusChanged(TLK_ConnStatusEnum /*status*/) override {}
  void TlkMsgRecieved(std::u16string_view /*messageType*/,
                      std::u16string_view /*message*/) override {
    ++messages;
  }

  int messages = 0;
};

inline void ConnectControl(CTlkc& control, std::uint16_t port) {
  std::int32_t connected = 0;
  control.Connect(u"127.0.0.1", port, &connected);
  Check(connected == 1, "the control does not connect");
}

/// A control that is connected, and the server's end of its connection.
struct ConnectedControl {
  explicit ConnectedControl(MessageLoop& loop) : control(loop, host) {
    const Listener listener;
    ConnectControl(*control, listener.Port());
    server = listener.Accept();
  }

  CountingHost host;
  NativeControl control;
  OwnedDescriptor server;
};

}  // namespace tlk::bench
