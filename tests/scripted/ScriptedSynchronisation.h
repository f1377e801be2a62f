#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "platform/Platform.h"
#include "platform/Synchronisation.h"

namespace tlk::test {

/// What the next waits give: a result to answer with, or none for a real wait. Safe from any
/// thread.
class WaitScript {
 public:
  using Answers = std::deque<std::optional<WaitResult>>;

  void Set(Answers answers) {
    const std::lock_guard lock(m_guard);
    m_answers = std::move(answers);
  }

  /// Whether every answer has been given.
  [[nodiscard]] bool IsUsedUp() {
    const std::lock_guard lock(m_guard);
    return m_answers.empty();
  }

  template <typename RealWait>
  WaitResult Answer(const RealWait& realWait) {
    const std::optional<WaitResult> answer = Next();
    return answer.has_value() ? *answer : realWait();
  }

 private:
  std::optional<WaitResult> Next() {
    const std::lock_guard lock(m_guard);
    if (m_answers.empty()) return std::nullopt;
    const std::optional<WaitResult> answer = m_answers.front();
    m_answers.pop_front();
    return answer;
  }

  std::mutex m_guard;
  Answers m_answers;
};

/// The system's synchronisation, with faults on request. Faults are set before the calls that they
/// are meant for; events and mutexes must not outlive this object, except those that only a thread
/// made here still holds: its destructor waits for all of them to end.
class ScriptedSynchronisation final : public Synchronisation {
 public:
  explicit ScriptedSynchronisation(Synchronisation& real = SystemPlatform().synchronisation)
      : m_real(real) {}

  ~ScriptedSynchronisation() override { WaitForThreads(); }

  ScriptedSynchronisation(const ScriptedSynchronisation&) = delete;
  ScriptedSynchronisation& operator=(const ScriptedSynchronisation&) = delete;

  WaitScript mutexWaits;
  WaitScript eventWaits;
  WaitScript eitherWaits;

  /// Refuses the n-th mutex without a name, the n-th event, counted from 1.
  void RefuseMutex(int number) { m_refusedMutex = number; }
  void RefuseEvent(int number) { m_refusedEvent = number; }

  /// Refuses threads from now on, or no more.
  void RefuseThreads(bool refuse) { m_refuseThreads = refuse; }

  /// Refuses to open, and to make, mutexes with a name.
  void RefuseNamedMutexes(bool refuse) { m_refuseNamed = refuse; }

  /// Every release fails with that number, which is then the last error; 0 for real releases.
  void FailReleases(int error) { m_releaseError = error; }

  [[nodiscard]] int EventsMade() const { return m_eventsMade; }
  [[nodiscard]] int ThreadsMade() const { return m_threadsMade; }
  [[nodiscard]] int OpenNamedMutexes() const { return m_openNamed; }

  /// How many threads are in a wait for one event.
  [[nodiscard]] int WaitingForEvents() const { return m_eventWaits; }

  /// Waits for the end of every thread made here.
  void WaitForThreads() {
    std::unique_lock lock(m_guard);
    m_threadEnded.wait(lock, [this] { return m_liveThreads == 0; });
  }

  std::unique_ptr<SystemMutex> NewMutex() override {
    if (++m_mutexesMade == m_refusedMutex) return nullptr;
    return std::make_unique<Mutex>(*this, m_real.NewMutex(), false);
  }

  std::unique_ptr<SystemMutex> OpenNamedMutex(const char* name) override {
    return m_refuseNamed ? nullptr : WrapNamed(m_real.OpenNamedMutex(name));
  }

  std::unique_ptr<SystemMutex> NewNamedMutex(const char* name) override {
    return m_refuseNamed ? nullptr : WrapNamed(m_real.NewNamedMutex(name));
  }

  std::unique_ptr<SystemEvent> NewEvent(ResetMode mode, bool signalled) override {
    if (++m_eventsMade == m_refusedEvent) return nullptr;
    return std::make_unique<Event>(*this, m_real.NewEvent(mode, signalled));
  }

  WaitResult WaitEither(SystemEvent& first, SystemEvent& second,
                        std::uint32_t milliseconds) override {
    return eitherWaits.Answer([&] {
      return m_real.WaitEither(static_cast<Event&>(first).Real(),
                               static_cast<Event&>(second).Real(), milliseconds);
    });
  }

  std::unique_ptr<SystemThread> NewThread(std::function<void()> work) override {
    if (m_refuseThreads) return nullptr;
    ++m_threadsMade;
    auto counted = std::make_shared<CountedWork>(*this, std::move(work));
    return m_real.NewThread([counted = std::move(counted)]() mutable {
      counted->work();
      counted.reset();
    });
  }

  std::uint32_t CurrentThreadId() const override { return m_real.CurrentThreadId(); }

  int LastError() const override {
    return m_releaseError != 0 ? m_releaseError.load() : m_real.LastError();
  }

 private:
  class Mutex final : public SystemMutex {
   public:
    Mutex(ScriptedSynchronisation& owner, std::unique_ptr<SystemMutex> real, bool isNamed)
        : m_owner(owner), m_real(std::move(real)), m_isNamed(isNamed) {
      if (m_isNamed) ++m_owner.m_openNamed;
    }
    ~Mutex() override {
      if (m_isNamed) --m_owner.m_openNamed;
    }

    WaitResult Wait(std::uint32_t milliseconds) override {
      return m_owner.mutexWaits.Answer([&] { return m_real->Wait(milliseconds); });
    }
    bool Release() override { return m_owner.m_releaseError == 0 && m_real->Release(); }

   private:
    ScriptedSynchronisation& m_owner;
    const std::unique_ptr<SystemMutex> m_real;
    const bool m_isNamed;
  };

  class Event final : public SystemEvent {
   public:
    Event(ScriptedSynchronisation& owner, std::unique_ptr<SystemEvent> real)
        : m_owner(owner), m_real(std::move(real)) {}

    WaitResult Wait(std::uint32_t milliseconds) override {
      ++m_owner.m_eventWaits;
      const WaitResult result =
          m_owner.eventWaits.Answer([&] { return m_real->Wait(milliseconds); });
      --m_owner.m_eventWaits;
      return result;
    }
    void Set() override { m_real->Set(); }
    void Reset() override { m_real->Reset(); }
    SystemEvent& Real() { return *m_real; }

   private:
    ScriptedSynchronisation& m_owner;
    const std::unique_ptr<SystemEvent> m_real;
  };

  // A thread counts as ended when what it ran, and all that this held, is gone.
  class LiveThread {
   public:
    explicit LiveThread(ScriptedSynchronisation& owner) : m_owner(owner) {
      const std::lock_guard lock(m_owner.m_guard);
      ++m_owner.m_liveThreads;
    }
    ~LiveThread() {
      const std::lock_guard lock(m_owner.m_guard);
      --m_owner.m_liveThreads;
      m_owner.m_threadEnded.notify_all();
    }
    LiveThread(const LiveThread&) = delete;
    LiveThread& operator=(const LiveThread&) = delete;

   private:
    ScriptedSynchronisation& m_owner;
  };

  struct CountedWork {
    CountedWork(ScriptedSynchronisation& owner, std::function<void()> toRun)
        : live(owner), work(std::move(toRun)) {}

    LiveThread live;  // Before the work, so that it ends after it.
    std::function<void()> work;
  };

  std::unique_ptr<SystemMutex> WrapNamed(std::unique_ptr<SystemMutex> real) {
    if (real == nullptr) return nullptr;
    return std::make_unique<Mutex>(*this, std::move(real), true);
  }

  Synchronisation& m_real;
  std::mutex m_guard;
  std::condition_variable m_threadEnded;
  int m_liveThreads = 0;
  std::atomic<int> m_refusedMutex{0};
  std::atomic<int> m_refusedEvent{0};
  std::atomic<bool> m_refuseThreads{false};
  std::atomic<bool> m_refuseNamed{false};
  std::atomic<int> m_releaseError{0};
  std::atomic<int> m_mutexesMade{0};
  std::atomic<int> m_eventsMade{0};
  std::atomic<int> m_threadsMade{0};
  std::atomic<int> m_openNamed{0};
  std::atomic<int> m_eventWaits{0};
};

}  // namespace tlk::test
