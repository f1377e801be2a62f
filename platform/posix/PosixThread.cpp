#include "platform/posix/PosixThread.h"

#include <atomic>
#include <csignal>
#include <initializer_list>
#include <utility>

#include "platform/CallingThread.h"
#include "platform/posix/PosixEvent.h"
#include "platform/posix/ThreadContext.h"

namespace tlk {
namespace {

/// Blocks the signals that a library thread leaves to others, while it is made: it inherits the
/// mask.
class HostSignalsBlocked {
 public:
  HostSignalsBlocked() {
    sigset_t signals;
    sigfillset(&signals);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT})
      sigdelset(&signals, fault);
    pthread_sigmask(SIG_SETMASK, &signals, &m_before);
  }
  ~HostSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
  HostSignalsBlocked(const HostSignalsBlocked&) = delete;
  HostSignalsBlocked& operator=(const HostSignalsBlocked&) = delete;

 private:
  sigset_t m_before{};
};

}  // namespace

/// What the thread and its object share; it stays until both are gone.
struct PosixThread::State {
  std::function<void()> work;
  std::uint32_t id = 0;
  std::atomic<bool> isWanted = false;
  PosixEvent hasId{ResetMode::kManual, false};
  PosixEvent mayStart{ResetMode::kManual, false};
  PosixEvent hasEnded{ResetMode::kManual, false};

  /// Tells of the end of the work, also when `pthread_exit` unwinds the thread.
  struct End {
    State& state;
    ~End() {
      state.work = nullptr;
      state.hasEnded.Set();
    }
  };
};

std::unique_ptr<PosixThread> PosixThread::Create(std::function<void()> work) {
  auto state = std::make_shared<State>();
  state->work = std::move(work);
  std::unique_ptr<PosixThread> thread(new PosixThread(std::move(state)));
  return thread->Start() ? std::move(thread) : nullptr;
}

bool PosixThread::Start() {
  auto argument = std::make_unique<std::shared_ptr<State>>(m_state);
  int result = 0;
  {
    const HostSignalsBlocked blocked;
    result = pthread_create(&m_thread, nullptr, &PosixThread::Main, argument.get());
  }
  if (result != 0) {
    SetLastThreadError(result);
    return false;
  }
  static_cast<void>(argument.release());
  m_isJoinable = true;
  return m_state->hasId.Wait(kNoLimit) == WaitResult::kSignalled;
}

void* PosixThread::Main(void* argument) {
  const std::unique_ptr<std::shared_ptr<State>> owned(
      static_cast<std::shared_ptr<State>*>(argument));
  State& state = **owned;
  state.id = CallingThread();
  state.hasId.Set();
  static_cast<void>(state.mayStart.Wait(kNoLimit));
  const State::End end{state};
  if (state.isWanted) state.work();
  return nullptr;
}

PosixThread::~PosixThread() {
  if (!m_isJoinable || m_process != getpid()) return;
  if (m_state->isWanted) {
    pthread_detach(m_thread);
  } else {
    m_state->mayStart.Set();
    pthread_join(m_thread, nullptr);
  }
}

std::uint32_t PosixThread::Id() const { return m_state->id; }

void PosixThread::Resume() {
  m_state->isWanted = true;
  m_state->mayStart.Set();
}

WaitResult PosixThread::Wait(std::uint32_t milliseconds) {
  // A forked child has none of its parent's threads, and a new one may have got this one's handle.
  if (m_process != getpid()) return WaitResult::kSignalled;
  const WaitResult result = m_state->hasEnded.Wait(milliseconds);
  if (result != WaitResult::kSignalled) return result;
  // Only a thread that is quite gone has given up the mutexes that it still held.
  const std::lock_guard lock(m_joinMutex);
  if (std::exchange(m_isJoinable, false)) pthread_join(m_thread, nullptr);
  return result;
}

}  // namespace tlk
