#pragma once

#include <pthread.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <mutex>

#include "platform/Synchronisation.h"

namespace tlk {

/// A thread with the default stack size. It takes no signals but those that its own faults raise: a
/// host's signal handlers run on the host's threads. Its number is the one that the system knows it
/// by, which is also what it gets from `CurrentThreadId`. Work that calls `pthread_exit` ends as if
/// it had returned. To a child that was forked after its making it has ended.
class PosixThread final : public SystemThread {
 public:
  /// Null, with the last error set, when the system refuses.
  [[nodiscard]] static std::unique_ptr<PosixThread> Create(std::function<void()> work);

  ~PosixThread() override;
  PosixThread(const PosixThread&) = delete;
  PosixThread& operator=(const PosixThread&) = delete;

  [[nodiscard]] std::uint32_t Id() const override;
  void Resume() override;
  [[nodiscard]] WaitResult Wait(std::uint32_t milliseconds) override;
  void LeaveOpen() override {}

 private:
  struct State;

  explicit PosixThread(std::shared_ptr<State> state) : m_state(std::move(state)) {}
  [[nodiscard]] bool Start();
  static void* Main(void* argument);

  const pid_t m_process = getpid();
  const std::shared_ptr<State> m_state;
  pthread_t m_thread{};
  std::mutex m_joinMutex;
  bool m_isJoinable = false;
};

}  // namespace tlk
