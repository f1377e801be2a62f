#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "tests/control/ControlFixture.h"

namespace tlk::test {
namespace {

/// What no message costs more than, in bytes for each byte on the wire.
constexpr double kMostExpansion = 32;

constexpr std::size_t kSize = 1'000'000;

/// A process of its own counts no memory but that of its one message.
class ExpansionTest : public ControlFixture {
 protected:
  static double PeakBytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024;
  }

  /// How far the peak of memory grows while a message is received, in messages.
  double Expansion(const std::string& message) {
    int ends[2] = {};
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
      sockets.Arrive(message);
      const double before = PeakBytes();
      Notify(socket_event::kRead);
      const double growth = (PeakBytes() - before) / static_cast<double>(message.size());
      const bool raised = timeline.size() == 2 && write(ends[1], &growth, sizeof growth) > 0;
      _exit(raised ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    double growth = 0;
    EXPECT_EQ(read(ends[0], &growth, sizeof growth), static_cast<ssize_t>(sizeof growth));
    close(ends[0]);
    close(ends[1]);
    return growth;
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
      const double expansion = Expansion(Frame(type, "<Data>" + pieces + "</Data>"));
      std::printf("%-14s costs %4.1f bytes a byte\n", piece.c_str(), expansion);
      EXPECT_LE(expansion, kMostExpansion) << piece << type;
    }
  }
}

}  // namespace
}  // namespace tlk::test
