#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace tlk::tap {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

/// Makes a file that was not there, to write bytes into it; where files belong to users, for its
/// user alone. Null when that fails, as when there is one already, and `errno` then says why.
[[nodiscard]] OpenFile MakeNewFile(const std::string& path);

}  // namespace tlk::tap
