#pragma once

#include <array>
#include <deque>
#include <functional>
#include <memory>

#include "tools/tlk/log/LogFiles.h"
#include "tools/tlk/log/RecordReader.h"

namespace tlk::log {

/// Reads files to their ends, block by block.
class BlockReader {
 public:
  /// Gives what the file has from `offset` on to the reader and each record that it then finds to
  /// `take`; moves `offset` on.
  void ReadOn(const LogFile& file, std::uint64_t& offset, RecordReader& reader,
              const std::function<void(const Record&)>& take);

 private:
  std::array<char, 262144> m_block;
};

/// Follows a log that grows and is rotated: each record once, in the order of the files.
class Following {
 public:
  struct Listener {
    std::function<void(const Record&)> record;
    std::function<void(const char* remark)> remark;  ///< Something was lost, or begins anew.
  };

  Following(Generations generations, Listener listener);

  /// Reads what has come since the last look; false when that is nothing.
  bool Look();

 private:
  struct Followed {
    std::unique_ptr<LogFile> file;
    std::uint64_t offset = 0;
  };

  void FindNewer();
  bool ReadFront();
  void EndFront();
  void RestIfIdle(bool isIdle);

  const Generations m_generations;
  const Listener m_listener;
  const std::unique_ptr<BlockReader> m_blocks = std::make_unique<BlockReader>();
  RecordReader m_reader;
  std::deque<Followed> m_files;  // The one that is read, and those that came after it.
  bool m_hasStarted = false;
  bool m_isLastLook = false;  // The front has been moved away, and was read once more since.
  int m_idleLooks = 0;
};

}  // namespace tlk::log
