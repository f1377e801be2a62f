// The verbs of windows/sockets.txt: windows that come and go, and notifications that come late.
#include <string>

#include "tests/platform/SocketsFixture.h"

namespace tlk {

void SocketsFixture::AddOwnVerbs() {
  verbs["vanish"] = [this](auto&) { return window->Vanish(), ""; };
  verbs["appear"] = [this](auto&) { return window->Appear(), ""; };
  verbs["post"] = [this](auto& event) {
    return ::PostMessageA(window->Handle(), registered, socket, std::stoi(event)) ? "" : "refused";
  };
}

}  // namespace tlk
