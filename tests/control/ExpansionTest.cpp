#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>

#include "tests/control/ControlFixture.h"

namespace tlk::test {
namespace {

/// What no message costs more than, in bytes for each byte on the wire.
constexpr double kMostExpansion = 32;

constexpr std::size_t kSize = 400'000;

class ExpansionTest : public ControlFixture {
 protected:
  static double PeakBytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024;
  }

  /// Receives the message that has come, in a process that has no other and ends with it.
  [[noreturn]] void ReceiveAlone(std::size_t size) {
    const double before = PeakBytes();
    Notify(socket_event::kRead);
    const double growth = (PeakBytes() - before) / static_cast<double>(size);
    std::fprintf(stderr, "%4.1f bytes a byte, told: %.20s\n", growth, events.told.c_str());
    std::_Exit(growth <= kMostExpansion ? 0 : 1);
  }
};

TEST_F(ExpansionTest, OfTheSmallestNodesIsBounded) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer's own memory would be counted";
#endif
  ConnectQuietly();
  for (const std::string piece : {"x", "<a/>", "x<a/>", "\x80<a/>", "<a b=''/>", "<!---->", "<?a?>",
                                  "&lt;", "<![CDATA[]]>x"}) {
    std::string pieces;
    while (pieces.size() < kSize) pieces += piece;
    // What the root declares, its data inherits.
    for (const std::string type : {"Wide", "Wide\" xmlns:p=\"u"}) {
      const auto message = Frame(type, "<Data>" + pieces + "</Data>");
      sockets.Arrive(message);
      EXPECT_EXIT(ReceiveAlone(message.size()), testing::ExitedWithCode(0), "told: N0 1000 ")
          << piece << type;
      sockets.ForgetArrivals();
    }
  }
}

}  // namespace
}  // namespace tlk::test
