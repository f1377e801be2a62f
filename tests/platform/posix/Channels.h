#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>

namespace tlk {

/// A pipe, a socket and a named pipe: an end to read and one to print to, for whoever asks to
/// close, and a signal for whoever prints and is not read that ends the process.
inline auto NewChannels(const std::string& folder) {
  std::signal(SIGPIPE, SIG_DFL);
  std::array<std::array<int, 2>, 3> channels{};
  EXPECT_EQ(pipe(channels[0].data()), 0);
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, channels[1].data()), 0);
  const std::string path = folder + "channel" + std::to_string(getpid());
  EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
  channels[2] = {open(path.c_str(), O_RDONLY | O_NONBLOCK), open(path.c_str(), O_WRONLY)};
  fcntl(channels[2][0], F_SETFL, 0);
  unlink(path.c_str());
  return channels;
}

}  // namespace tlk
