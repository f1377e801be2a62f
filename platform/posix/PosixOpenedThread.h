#pragma once

#include <cstdint>
#include <memory>

#include "platform/Synchronisation.h"
#include "platform/posix/PosixEvent.h"

namespace tlk {

/// The thread that opens it, whoever made that thread. A wait ends when the thread destroys its
/// thread_local objects; the main thread does so when the program ends in the ordinary way.
class PosixOpenedThread final : public SystemThread {
 public:
  PosixOpenedThread();

  [[nodiscard]] std::uint32_t Id() const override { return m_id; }
  void Resume() override {}
  [[nodiscard]] WaitResult Wait(std::uint32_t milliseconds) override;
  void LeaveOpen() override {}

 private:
  const std::uint32_t m_id;
  const std::shared_ptr<PosixEvent> m_hasEnded;
};

}  // namespace tlk
