// Calls that a signal interrupts are made again, and go on where they were.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>

#include "platform/Platform.h"
#include "platform/StandardOutput.h"
#include "platform/posix/MessageLoop.h"
#include "tests/platform/FilesFixture.h"
#include "tests/platform/posix/LoopbackPeer.h"

/// So many calls are still to be interrupted.
std::atomic<int> interruptions{0};

template <typename Result, typename... Of>
Result CallOrInterrupt(Result (* /*type*/)(Of...), const char* name,
                       std::type_identity_t<Of>... of) {
  if (interruptions == 0) return reinterpret_cast<Result (*)(Of...)>(dlsym(RTLD_NEXT, name))(of...);
  --interruptions;
  errno = EINTR;
  return -1;
}

// These stand before the system's own.
extern "C" {
ssize_t read(int file, void* bytes, size_t size) {
  return CallOrInterrupt(read, "read", file, bytes, size);
}
ssize_t write(int file, const void* bytes, size_t size) {
  return CallOrInterrupt(write, "write", file, bytes, size);
}
int flock(int file, int operation) noexcept {
  return CallOrInterrupt(flock, "flock", file, operation);
}
int connect(int socket, const sockaddr* name, socklen_t size) {
  if (interruptions == 0) return CallOrInterrupt(connect, "connect", socket, name, size);
  fcntl(socket, F_SETFL, O_NONBLOCK);
  const int left = interruptions.exchange(0);
  static_cast<void>(connect(socket, name, size));
  interruptions = left;
  fcntl(socket, F_SETFL, 0);
  return CallOrInterrupt(connect, "connect", socket, name, size);
}
}

namespace tlk {

using PosixInterruptions = FilesFixture;

TEST_F(PosixInterruptions, AreNotNoticed) {
  std::string content;
  interruptions = 2;
  EXPECT_EQ(Append("a.log"), 5);
  interruptions = 2;
  EXPECT_TRUE(m_files.Read(Path("a.log"), [&](std::string_view piece) { content += piece; }));
  EXPECT_EQ(content, "line\n");
  interruptions = 2;
  EXPECT_NE(SystemPlatform().synchronisation.NewNamedMutex(m_folder.c_str()), nullptr);
  testing::internal::CaptureStdout();
  interruptions = 2;
  PrintOnStandardOutput("heard\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "heard\n");
}

TEST(PosixInterruption, LeavesAConnectToItsEnd) {
  LoopbackPeer peer;
  MessageLoop loop;
  for (const int outcome : {socket_error::kNone, socket_error::kConnectionRefused}) {
    interruptions = 1;
    static_cast<void>(loop.GetSockets().Connect(loop.GetSockets().Open(), peer.Address()));
    EXPECT_EQ(loop.GetSockets().LastError(), outcome);
    peer.StopListening();
  }
}

}  // namespace tlk
