#include "platform/posix/MessageWindow.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <string>
#include <thread>

namespace tlk::test {

bool IsReadable(const MessageLoop& loop) {
  pollfd asked{.fd = loop.WaitDescriptor(), .events = POLLIN, .revents = 0};
  return ::poll(&asked, 1, 0) == 1;
}

// Whether a loop around this one would call it now.
bool IsDue(const MessageLoop& loop) { return loop.MillisecondsToNext() == 0 && IsReadable(loop); }

TEST(MessageLoopTest, CallsWhatIsPostedInItsOrderAndARoundLaterWhatThatPosts) {
  MessageLoop loop;
  std::string called;
  EXPECT_FALSE(loop.MillisecondsToNext() >= 0 || IsReadable(loop) || loop.Post({}));
  EXPECT_TRUE(loop.Post([&] {
    called += 'a';
    EXPECT_TRUE(loop.Post([&] { called += 'c'; }));
  }));
  EXPECT_TRUE(loop.Post([&] { called += 'b'; }) && IsDue(loop));
  EXPECT_TRUE(loop.DispatchOnce(-1) && called == "ab" && IsDue(loop));
  EXPECT_TRUE(loop.DispatchOnce(-1) && called == "abc" && !IsReadable(loop));
}

TEST(MessageLoopTest, LeavesWhatIsPostedToALoopWithinACall) {
  MessageLoop loop;
  std::string called;
  loop.Post([&] { called += loop.DispatchOnce(-1) ? "inner done" : "nothing"; });
  loop.Post([&] { called += "second, "; });
  EXPECT_TRUE(loop.DispatchOnce(-1));
  EXPECT_EQ(called, "second, inner done");
}

TEST(MessageLoopTest, DoesNotWaitForWhatIsDue) {
  MessageLoop loop;
  MessageWindow window(loop);
  window.StartTimer(1, 1);
  while (loop.MillisecondsToNext() != 0) std::this_thread::yield();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(loop.DispatchOnce(20000));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(MessageLoopTest, IsWokenByAnotherThread) {
  MessageLoop loop;
  auto caller = std::thread::id();
  const std::jthread poster([&] { loop.Post([&] { caller = std::this_thread::get_id(); }); });
  EXPECT_TRUE(loop.DispatchOnce(20000));
  EXPECT_EQ(caller, std::this_thread::get_id());
}

}  // namespace tlk::test
