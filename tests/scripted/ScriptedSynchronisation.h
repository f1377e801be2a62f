#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "platform/Platform.h"
#include "platform/Synchronisation.h"
#include "tests/scripted/NthCall.h"

namespace tlk::test {

/// Gives its result to the next waits instead of letting them wait.
struct WaitFault {
  WaitResult result = WaitResult::kFailed;
  std::atomic<int> waitsLeft{0};

  void Give(WaitResult newResult, int waits) {
    result = newResult;
    waitsLeft = waits;
  }

  [[nodiscard]] bool IsMet() { return waitsLeft > 0 && waitsLeft-- > 0; }
};

/// The system's synchronisation, with faults on request. Faults are set before the calls that they
/// are meant for; its destructor waits for all threads made here.
class ScriptedSynchronisation final : public Synchronisation {
 public:
  ~ScriptedSynchronisation() override { WaitForThreads(); }

  WaitFault mutexWaits;
  WaitFault eventWaits;
  WaitFault eitherWaits;

  /// Of all that can fail: makers of unnamed things, and waits.
  NthCall anyCall;

  /// Counts down with each unnamed mutex and each event; the one that brings it to 0 is refused.
  int partsToRefusal = 0;
  bool refusesThreads = false;
  bool refusesNamedMutexes = false;

  bool refusesCurrentThread = false;
  bool refusesThreadSlots = false;

  /// How many threads have been told to leave their handle open, and how many slots there are.
  std::atomic<int> leftOpen{0};
  std::atomic<int> threadSlots{0};

  /// How many threads are in a wait for one event.
  std::atomic<int> waitingForEvents{0};

  [[nodiscard]] std::size_t ThreadsMade() const { return m_threads.size(); }

  /// Waits until they are quite gone: a process that ends beside a thread that ends may crash under
  /// an emulator.
  void WaitForThreads() const {
    for (const auto& thread : m_threads)
      if (thread != nullptr) static_cast<void>(thread->Wait(kNoLimit));
  }

  std::unique_ptr<SystemMutex> NewMutex() override {
    return IsRefused(--partsToRefusal == 0) ? nullptr : Wrap(m_real.NewMutex());
  }

  std::unique_ptr<SystemMutex> OpenNamedMutex(const char* name) override {
    return refusesNamedMutexes ? nullptr : Wrap(m_real.OpenNamedMutex(name));
  }

  std::unique_ptr<SystemMutex> NewNamedMutex(const char* name) override {
    return refusesNamedMutexes ? nullptr : Wrap(m_real.NewNamedMutex(name));
  }

  std::unique_ptr<SystemEvent> NewEvent(ResetMode mode, bool signalled) override {
    if (IsRefused(--partsToRefusal == 0)) return nullptr;
    return std::make_unique<Event>(*this, m_real.NewEvent(mode, signalled));
  }

  WaitResult WaitEither(SystemEvent& first, SystemEvent& second,
                        std::uint32_t milliseconds) override {
    if (anyCall.IsThis()) return WaitResult::kFailed;
    if (eitherWaits.IsMet()) return eitherWaits.result;
    return m_real.WaitEither(*static_cast<Event&>(first).real, *static_cast<Event&>(second).real,
                             milliseconds);
  }

  // Whoever asks for a thread has to resume it.
  std::unique_ptr<SystemThread> NewThread(std::function<void()> work) override {
    if (IsRefused(refusesThreads)) return nullptr;
    const std::shared_ptr<SystemThread> real = m_real.NewThread(std::move(work));
    auto thread = std::make_unique<Thread>(leftOpen, real);
    m_threads.push_back(real);
    return thread;
  }

  std::unique_ptr<SystemThread> OpenCurrentThread() override {
    if (refusesCurrentThread) return nullptr;
    return std::make_unique<Thread>(leftOpen, m_real.OpenCurrentThread());
  }

  std::unique_ptr<ThreadSlot> NewThreadSlot() override {
    if (refusesThreadSlots) return nullptr;
    return std::make_unique<Slot>(threadSlots, m_real.NewThreadSlot());
  }

  std::uint32_t CurrentThreadId() const override { return m_real.CurrentThreadId(); }
  int LastError() const override { return m_real.LastError(); }

 private:
  struct Mutex final : SystemMutex {
    Mutex(ScriptedSynchronisation& maker, std::unique_ptr<SystemMutex> mutex)
        : owner(maker), real(std::move(mutex)) {}

    WaitResult Wait(std::uint32_t milliseconds) override {
      if (owner.anyCall.IsThis()) return WaitResult::kFailed;
      WaitFault& fault = owner.mutexWaits;
      return fault.IsMet() ? fault.result : real->Wait(milliseconds);
    }
    bool Release() override { return real->Release(); }

    ScriptedSynchronisation& owner;
    const std::unique_ptr<SystemMutex> real;
  };

  struct Event final : SystemEvent {
    Event(ScriptedSynchronisation& maker, std::unique_ptr<SystemEvent> event)
        : owner(maker), real(std::move(event)) {}

    WaitResult Wait(std::uint32_t milliseconds) override {
      if (owner.anyCall.IsThis()) return WaitResult::kFailed;
      ++owner.waitingForEvents;
      WaitFault& fault = owner.eventWaits;
      const WaitResult result = fault.IsMet() ? fault.result : real->Wait(milliseconds);
      --owner.waitingForEvents;
      return result;
    }
    void Set() override { real->Set(); }
    void Reset() override { real->Reset(); }

    ScriptedSynchronisation& owner;
    const std::unique_ptr<SystemEvent> real;
  };

  struct Thread final : SystemThread {
    Thread(std::atomic<int>& counter, std::shared_ptr<SystemThread> thread)
        : left(counter), real(std::move(thread)) {}

    std::uint32_t Id() const override { return real->Id(); }
    void Resume() override { real->Resume(); }
    WaitResult Wait(std::uint32_t milliseconds) override { return real->Wait(milliseconds); }
    void LeaveOpen() override {
      ++left;
      real->LeaveOpen();
    }

    std::atomic<int>& left;
    const std::shared_ptr<SystemThread> real;
  };

  struct Slot final : ThreadSlot {
    Slot(std::atomic<int>& counter, std::unique_ptr<ThreadSlot> slot)
        : count(counter), real(std::move(slot)) {
      ++count;
    }
    ~Slot() override { --count; }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;

    void* Get() const noexcept override { return real->Get(); }
    void Set(void* pointer) noexcept override { real->Set(pointer); }

    std::atomic<int>& count;
    const std::unique_ptr<ThreadSlot> real;
  };

  bool IsRefused(bool isToldTo) { return anyCall.IsThis() || isToldTo; }

  std::unique_ptr<SystemMutex> Wrap(std::unique_ptr<SystemMutex> real) {
    return real == nullptr ? nullptr : std::make_unique<Mutex>(*this, std::move(real));
  }

  Synchronisation& m_real = SystemPlatform().synchronisation;
  std::vector<std::shared_ptr<SystemThread>> m_threads;
};

}  // namespace tlk::test
