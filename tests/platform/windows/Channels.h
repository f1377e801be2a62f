#pragma once

#include <fcntl.h>
#include <io.h>

#include <string>
#include <vector>

namespace tlk {

/// Something that one end reads and the other prints to. Whoever asks for it closes both.
struct Channel {
  const char* kind;
  int reader;
  int writer;
};

inline std::vector<Channel> NewChannels(const std::string& /*folder*/) {
  int ends[2] = {-1, -1};
  _pipe(ends, 65536, _O_BINARY);
  return {{"pipe", ends[0], ends[1]}};
}

}  // namespace tlk
