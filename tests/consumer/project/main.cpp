#include <TlkC2/control/NativeControl.h>

#include <cstdlib>
#include <iostream>

namespace {

class Greeter : public tlk::ITlkcEvents {
 public:
  void ConnStatusChanged(tlk::TLK_ConnStatusEnum status) override {
    std::cout << (status == tlk::TLK_Connected ? "connected" : "not connected") << '\n';
  }

  void TlkMsgRecieved(std::u16string_view messageType, std::u16string_view message) override {
    answered = messageType == u"Greeting";
    std::cout << tlk::ToUtf8(message) << '\n';
  }

  bool answered = false;
};

}  // namespace

int main(int argc, char** argv) {
  tlk::TraceLog().SetConsoleEcho(false);
  tlk::MessageLoop loop;
  Greeter greeter;
  tlk::NativeControl control(loop, greeter);

  std::int32_t connected = 0;
  control->Connect(u"localhost", argc > 1 ? std::atoi(argv[1]) : 1371, &connected);
  control->SendTLKMsg(u"Greeting", u"<Text>Good morning</Text>");
  for (int i = 0; i < 50 && connected != 0 && !greeter.answered; ++i) {
    loop.DispatchOnce(100);
  }
  control->Disconnect();
  return greeter.answered ? 0 : 1;
}
