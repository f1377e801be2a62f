#pragma once

#include "platform/Synchronisation.h"

namespace tlk {

/// Mutexes, events and threads made of pthreads. Errors are the system's `errno` numbers, except
/// that releasing a mutex of somebody else gives 288.
///
/// Named mutexes are shared by the processes of one user; a name ends with its last object, or with
/// the last process that had one.
class PosixSynchronisation final : public Synchronisation {
 public:
  [[nodiscard]] std::unique_ptr<SystemMutex> NewMutex() override;
  [[nodiscard]] std::unique_ptr<SystemMutex> OpenNamedMutex(const char* name) override;
  [[nodiscard]] std::unique_ptr<SystemMutex> NewNamedMutex(const char* name) override;
  [[nodiscard]] std::unique_ptr<SystemEvent> NewEvent(ResetMode mode, bool signalled) override;
  [[nodiscard]] WaitResult WaitEither(SystemEvent& first, SystemEvent& second,
                                      std::uint32_t milliseconds) override;
  [[nodiscard]] std::unique_ptr<SystemThread> NewThread(std::function<void()> work) override;
  [[nodiscard]] std::unique_ptr<SystemThread> OpenCurrentThread() override;
  [[nodiscard]] std::unique_ptr<ThreadSlot> NewThreadSlot() override;
  [[nodiscard]] std::uint32_t CurrentThreadId() const override;
  [[nodiscard]] int LastError() const override;
};

}  // namespace tlk
