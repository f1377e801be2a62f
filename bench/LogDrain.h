#pragma once

#include <string>

namespace tlk::bench {

/// Opens, appends, reads the size and closes for each of so many lines, in the calling thread.
void AppendByHand(const std::string& path, const std::string& line, int lines);

}  // namespace tlk::bench
