#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Platform.h"
#include "platform/Synchronisation.h"
#include "tests/scripted/NthCall.h"

namespace tlk::test {

/// The waits for things of one kind. Some may be given a result instead of being let wait.
struct Waits {
  void Give(WaitResult given, int waits) {
    result = given;
    left = waits;
  }

  WaitResult result = WaitResult::kFailed;
  std::atomic<int> left{0};          ///< How many are given the result.
  std::atomic<int> going{0};         ///< How many threads wait.
  std::atomic<bool> areHeld{false};  ///< Whether none begins.
};

/// The system's synchronisation, with faults on request. Faults are set before the calls that they
/// are meant for; its destructor waits for all threads made here.
class ScriptedSynchronisation final : public Synchronisation {
 public:
  ~ScriptedSynchronisation() override { WaitForThreads(); }

  Waits mutexWaits;
  Waits eventWaits;
  Waits eitherWaits;
  Waits threadWaits;

  /// Of all that can fail: what makes things, and waits.
  NthCall anyCall;

  /// How many threads have been told to leave their handle open.
  std::atomic<int> leftOpen{0};

  [[nodiscard]] std::size_t ThreadsMade() const { return m_threads.size(); }

  /// Waits until they are quite gone: a process that ends beside a thread that ends may crash under
  /// an emulator.
  void WaitForThreads() const {
    for (const auto& thread : m_threads)
      if (thread != nullptr) static_cast<void>(thread->Wait(kNoLimit));
  }

  std::unique_ptr<SystemMutex> NewMutex() override {
    return anyCall.IsThis() ? nullptr : Wrap<Mutex>(m_real.NewMutex());
  }
  std::unique_ptr<SystemMutex> OpenNamedMutex(const char* name) override {
    return Wrap<Mutex>(m_real.OpenNamedMutex(name));
  }
  std::unique_ptr<SystemMutex> NewNamedMutex(const char* name) override {
    return anyCall.IsThis() ? nullptr : Wrap<Mutex>(m_real.NewNamedMutex(name));
  }
  std::unique_ptr<SystemEvent> NewEvent(ResetMode mode, bool signalled) override {
    return anyCall.IsThis() ? nullptr : Wrap<Event>(m_real.NewEvent(mode, signalled));
  }

  WaitResult WaitEither(SystemEvent& first, SystemEvent& second,
                        std::uint32_t milliseconds) override {
    return Do(eitherWaits, [&] {
      return m_real.WaitEither(*static_cast<Event&>(first).real, *static_cast<Event&>(second).real,
                               milliseconds);
    });
  }

  // Whoever gets a thread has to resume it; one that could not be given is not waited for.
  std::unique_ptr<SystemThread> NewThread(std::function<void()> work) override {
    if (anyCall.IsThis()) return nullptr;
    std::shared_ptr<SystemThread> real = m_real.NewThread(std::move(work));
    auto thread = Wrap<Thread>(real);
    m_threads.push_back(std::move(real));
    return thread;
  }

  std::unique_ptr<SystemThread> OpenCurrentThread() override {
    return anyCall.IsThis() ? nullptr : Wrap<Thread>(m_real.OpenCurrentThread());
  }
  std::unique_ptr<ThreadSlot> NewThreadSlot() override {
    return anyCall.IsThis() ? nullptr : m_real.NewThreadSlot();
  }

  std::uint32_t CurrentThreadId() const override { return m_real.CurrentThreadId(); }
  int LastError() const override { return m_real.LastError(); }

 private:
  template <typename Thing, Waits ScriptedSynchronisation::*kWaits>
  struct Wrapped : Thing {
    Wrapped(ScriptedSynchronisation& maker, std::shared_ptr<Thing> thing)
        : owner(maker), real(std::move(thing)) {}

    WaitResult Wait(std::uint32_t milliseconds) override {
      return owner.Do(owner.*kWaits, [&] { return real->Wait(milliseconds); });
    }

    ScriptedSynchronisation& owner;
    const std::shared_ptr<Thing> real;
  };

  struct Mutex final : Wrapped<SystemMutex, &ScriptedSynchronisation::mutexWaits> {
    using Wrapped::Wrapped;
    bool Release() override { return real->Release(); }
  };

  struct Event final : Wrapped<SystemEvent, &ScriptedSynchronisation::eventWaits> {
    using Wrapped::Wrapped;
    void Set() override { real->Set(); }
    void Reset() override { real->Reset(); }
  };

  struct Thread final : Wrapped<SystemThread, &ScriptedSynchronisation::threadWaits> {
    using Wrapped::Wrapped;
    std::uint32_t Id() const override { return real->Id(); }
    void Resume() override { real->Resume(); }
    void LeaveOpen() override {
      ++owner.leftOpen;
      real->LeaveOpen();
    }
  };

  WaitResult Do(Waits& waits, auto wait) {
    if (anyCall.IsThis()) return WaitResult::kFailed;
    while (waits.areHeld) std::this_thread::yield();
    ++waits.going;
    const WaitResult result = waits.left > 0 && waits.left-- > 0 ? waits.result : wait();
    --waits.going;
    return result;
  }

  template <typename Wrapper>
  std::unique_ptr<Wrapper> Wrap(auto real) {
    return real == nullptr ? nullptr : std::make_unique<Wrapper>(*this, std::move(real));
  }

  Synchronisation& m_real = SystemPlatform().synchronisation;
  std::vector<std::shared_ptr<SystemThread>> m_threads;
};

}  // namespace tlk::test
