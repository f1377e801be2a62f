#pragma once

#include <semaphore>
#include <string>

#include "bench/LogContestants.h"

namespace tlk::bench {

/// Opens, appends, reads the size and closes for each of so many lines, in the calling thread.
void AppendByHand(const std::string& path, const std::string& line, int lines);

/// The log of this project with a writer that waits until it is let go.
class HeldLog {
 public:
  explicit HeldLog(const std::string& folder);

  /// Ends the writer, queues so many records and has a new writer wait. It runs where the calling
  /// thread may.
  void Fill(int records);

  /// Lets the writer go, and waits until it has written all.
  void Drain();

 private:
  std::binary_semaphore m_gate{0};
  OwnLog m_log;
};

}  // namespace tlk::bench
