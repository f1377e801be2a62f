#include "control/NativeControl.h"

#include <optional>

#include "tests/control/ControlFixture.h"
#include "tests/platform/posix/LoopbackPeer.h"

namespace tlk::test {
namespace {

// A program that chose a folder found its log in the temporary one as soon as it made a control.
TEST(NativeControlTest, LeavesTheLogInTheFolderThatTheProgramKeeps) {
  KeepTraceLogIn("chosen");
  MessageLoop loop;
  HostEvents events;
  const NativeControl control(loop, events);
  EXPECT_EQ(TraceLog().GetDirectory(), "chosen");
  EXPECT_EQ(TraceLog().GetLevel(), 4);
}

// The end of a request that fails is told twice, and the host lets go of the control the first
// time.
TEST(NativeControlTest, TellsAHostThatLetGoOfItNothingMore) {
  LoopbackPeer peer;
  MessageLoop loop;
  HostEvents events;
  std::optional<NativeControl> control(std::in_place, loop, events);
  std::int32_t connected = 0;
  (*control)->Connect(u"127.0.0.1", ntohs(peer.Address().port), &connected);
  peer.Accept();
  peer.Close();
  events.onStatus = [&] { control.reset(); };
  std::u16string unwritten;
  (*control)->SendReceiveTlkMsg(u"T", u"", &unwritten, &unwritten, 1000);
  EXPECT_EQ(events.told, "status 3|status 0|");
}

}  // namespace
}  // namespace tlk::test
