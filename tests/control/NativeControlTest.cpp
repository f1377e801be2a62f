#include "control/NativeControl.h"

#include "tests/control/ControlFixture.h"

namespace tlk::test {

// A program that chose a folder found its log in the temporary one as soon as it made a control.
TEST(NativeControlTest, LeavesTheLogInTheFolderThatTheProgramKeeps) {
  KeepTraceLogIn("chosen");
  MessageLoop loop;
  HostEvents events;
  const NativeControl control(loop, events);
  EXPECT_EQ(TraceLog().GetDirectory(), "chosen");
  EXPECT_EQ(TraceLog().GetLevel(), 4);
}

}  // namespace tlk::test
