#pragma once

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>

#include "bench/Comparison.h"
#include "bench/Loopback.h"

namespace tlk::bench {

/// A thread on the second processor that sends copies of a message, as many in one call as a server
/// with a lot to say would.
class BulkSender {
 public:
  /// Starts to send `count` copies of `message`, which must stay until all have arrived.
  void Start(int descriptor, std::string_view message, int count) {
    {
      const std::lock_guard lock(m_guard);
      m_job = {descriptor, message, count};
    }
    m_wake.notify_one();
  }

 private:
  static constexpr std::size_t kBlock = 65'536;

  struct Job {
    int descriptor = -1;
    std::string_view message;
    int count = 0;
  };

  void Run(const std::stop_token& stop) {
    PinToProcessor(1);
    while (!stop.stop_requested()) {
      std::unique_lock lock(m_guard);
      if (!m_wake.wait(lock, stop, [this] { return m_job.count > 0; })) return;
      const Job job = m_job;
      m_job.count = 0;
      lock.unlock();
      Send(job);
    }
  }

  static void Send(const Job& job) {
    if (job.message.size() >= kBlock) {
      for (int i = 0; i < job.count; ++i) SendAll(job.descriptor, job.message);
      return;
    }
    const int inBlock = static_cast<int>(kBlock / job.message.size());
    std::string block;
    for (int i = 0; i < inBlock; ++i) block += job.message;
    for (int rest = job.count; rest > 0; rest -= inBlock) {
      const auto copies = static_cast<std::size_t>(std::min(rest, inBlock));
      SendAll(job.descriptor, std::string_view(block).substr(0, copies * job.message.size()));
    }
  }

  std::mutex m_guard;
  std::condition_variable_any m_wake;
  Job m_job;
  std::jthread m_thread{[this](const std::stop_token& stop) { Run(stop); }};
};

}  // namespace tlk::bench
