#pragma once

#include <condition_variable>
#include <mutex>

namespace tlk::test {

/// Where a thread stops until the test lets it through.
class Gate {
 public:
  ~Gate() { Open(); }

  /// Called by the thread to be stopped.
  void Pass() {
    std::unique_lock lock(m_guard);
    ++m_arrivals;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return m_isOpen || m_permits > 0; });
    if (!m_isOpen) --m_permits;
  }

  /// Waits until so many passes in all have begun.
  void WaitForArrivals(int count) {
    std::unique_lock lock(m_guard);
    m_changed.wait(lock, [&] { return m_arrivals >= count; });
  }

  void Let(int count) {
    const std::lock_guard lock(m_guard);
    m_permits += count;
    m_changed.notify_all();
  }

  /// Stops nobody any more.
  void Open() {
    const std::lock_guard lock(m_guard);
    m_isOpen = true;
    m_changed.notify_all();
  }

 private:
  std::mutex m_guard;
  std::condition_variable m_changed;
  int m_arrivals = 0;
  int m_permits = 0;
  bool m_isOpen = false;
};

}  // namespace tlk::test
