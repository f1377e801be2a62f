#include "platform/posix/PosixOpenedThread.h"

#include "platform/CallingThread.h"

namespace tlk {
namespace {

/// Set at the end of the thread that it belongs to.
class EndOfThread {
 public:
  EndOfThread() = default;
  ~EndOfThread() { m_event->Set(); }
  EndOfThread(const EndOfThread&) = delete;
  EndOfThread& operator=(const EndOfThread&) = delete;

  [[nodiscard]] const std::shared_ptr<PosixEvent>& Event() const { return m_event; }

 private:
  const std::shared_ptr<PosixEvent> m_event =
      std::make_shared<PosixEvent>(ResetMode::kManual, false);
};

const std::shared_ptr<PosixEvent>& EndOfCurrentThread() {
  thread_local const EndOfThread end;
  return end.Event();
}

}  // namespace

PosixOpenedThread::PosixOpenedThread() : m_id(CallingThread()), m_hasEnded(EndOfCurrentThread()) {}

WaitResult PosixOpenedThread::Wait(std::uint32_t milliseconds) {
  return m_hasEnded->Wait(milliseconds);
}

}  // namespace tlk
