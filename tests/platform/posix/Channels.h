#pragma once

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

namespace tlk {

/// Something that one end reads and the other prints to. Whoever asks for it closes both.
struct Channel {
  const char* kind;
  int reader;
  int writer;
};

/// One of each kind, with a signal for whoever prints and is not read that ends the process.
inline std::vector<Channel> NewChannels(const std::string& folder) {
  std::signal(SIGPIPE, SIG_DFL);
  std::vector<Channel> channels{{"pipe", -1, -1}, {"socket", -1, -1}, {"named pipe", -1, -1}};
  int ends[2] = {-1, -1};
  if (pipe(ends) == 0) channels[0] = {"pipe", ends[0], ends[1]};
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0) channels[1] = {"socket", ends[0], ends[1]};
  const std::string path = folder + "channel" + std::to_string(getpid());
  mkfifo(path.c_str(), 0600);
  channels[2].reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
  channels[2].writer = open(path.c_str(), O_WRONLY);
  fcntl(channels[2].reader, F_SETFL, 0);
  unlink(path.c_str());
  return channels;
}

}  // namespace tlk
