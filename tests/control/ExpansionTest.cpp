#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>

#include "tests/control/ControlFixture.h"

namespace tlk::test {

/// What no message costs more than, in bytes for each byte on the wire.
constexpr double kMostExpansion = 32;

using ExpansionTest = ControlFixture;

double PeakBytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) * 1024;
}

TEST_F(ExpansionTest, OfTheSmallestNodesIsBounded) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer's own memory would be counted";
#endif
  // In a process of its own, which a first message has made ready.
  const auto receive = [this](const std::string& message) {
    Read(Frame("Ready", "<Data/>"));
    events.told.clear();
    sockets.Arrive(message);
    const double before = PeakBytes();
    Notify(socket_event::kRead);
    const double growth = (PeakBytes() - before) / static_cast<double>(message.size());
    std::fprintf(stderr, "%4.1f bytes a byte, told: %.30s\n", growth, events.told.c_str());
    std::_Exit(growth <= kMostExpansion ? 0 : 1);
  };
  ConnectQuietly();
  for (const std::string piece : {"x", "<a/>", "x<a/>", "\x80<a/>", "<a b=''/>", "<!---->", "<?a?>",
                                  "&lt;", "<![CDATA[]]>x"}) {
    std::string pieces;
    while (pieces.size() < 1'000'000) pieces += piece;
    // What the root declares, its data inherits, which costs a copy of it.
    const auto message = Frame("Wide\" xmlns:p=\"u", "<Data>" + pieces + "</Data>");
    EXPECT_EXIT(receive(message), testing::ExitedWithCode(0), "Recieved. Wide") << piece;
  }
}

}  // namespace tlk::test
