#pragma once

#include "platform/Synchronisation.h"

namespace tlk {

/// The kernel's mutexes, events and threads. The last error is the system's own; nothing here
/// touches it between a failure and the return.
///
/// A named mutex is asked for with all rights, so one that another user or privilege level has made
/// is shared only where its maker has granted them all.
class WindowsSynchronisation final : public Synchronisation {
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
