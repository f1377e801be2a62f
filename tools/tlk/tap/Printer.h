#pragma once

#include <asio/thread_pool.hpp>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tlk::tap {

/// Prints on a thread of its own, so that a terminal which stands still holds nobody up. What it
/// cannot keep until then it leaves out, and says how many entries that were.
class Printer {
 public:
  Printer() : m_thread(1) {}

  /// Prints an entry, whole lines, behind those before it. One thread at a time.
  void Print(std::string entry);

  /// Returns when all is printed. Nothing can be printed afterwards.
  void Finish();

 private:
  void Put(std::string text);

  static constexpr std::size_t kMostWaiting = 4U << 20U;

  std::atomic<std::size_t> m_waiting{0};  ///< Bytes that the thread has not printed yet.
  std::uint64_t m_leftOut = 0;            ///< Entries since the last one that was kept.
  asio::thread_pool m_thread;
};

}  // namespace tlk::tap
