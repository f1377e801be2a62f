#include <windows.h>

#include <cstdlib>

#include "platform/windows/runtime/VerifiedRuntime.h"

// The runtime's own state of a thread, and its guards of local statics, rest on a thread library
// that takes an index, handles and memory at first use and never gives them back: a little is lost
// each time the module is loaded. These entry points of the C++ ABI stand in for the runtime's.

namespace __gnu_cxx {
void __freeres();  // No header declares it.
}

namespace {

/// What exception handling knows of a thread; laid out by the ABI.
struct ExceptionState {
  void* caught = nullptr;
  unsigned int uncaught = 0;
};

/// A local static's guard: the compiler reads the first byte and leaves the rest to the runtime.
struct Guard {
  unsigned char isDone;
  unsigned char isBusy;
};

constinit SRWLOCK theLock = SRWLOCK_INIT;
constinit CONDITION_VARIABLE theGuardChanged = CONDITION_VARIABLE_INIT;
constinit DWORD theIndex = FLS_OUT_OF_INDEXES;

class Locked {
 public:
  Locked() { AcquireSRWLockExclusive(&theLock); }
  ~Locked() { ReleaseSRWLockExclusive(&theLock); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;
};

void NTAPI FreeState(void* state) { std::free(state); }

DWORD Index() {
  const Locked locked;
  if (theIndex == FLS_OUT_OF_INDEXES) theIndex = FlsAlloc(&FreeState);
  return theIndex;
}

ExceptionState* AddState(DWORD index) {
  auto* const state = static_cast<ExceptionState*>(std::calloc(1, sizeof(ExceptionState)));
  if (state == nullptr || FlsSetValue(index, state) == FALSE) std::abort();
  return state;
}

/// Frees what was set aside for exceptions when the module is unloaded.
struct LastToGo {
  ~LastToGo() {
    __gnu_cxx::__freeres();
    // Frees every thread's state as well.
    if (theIndex != FLS_OUT_OF_INDEXES) FlsFree(theIndex);
  }
};

// Made before every other static object, so that it outlives them.
[[gnu::init_priority(101)]] const LastToGo theLastToGo;

void LeaveGuard(Guard* guard, bool isDone) {
  {
    const Locked locked;
    __atomic_store_n(&guard->isDone, static_cast<unsigned char>(isDone), __ATOMIC_RELEASE);
    guard->isBusy = 0;
  }
  WakeAllConditionVariable(&theGuardChanged);
}

}  // namespace

extern "C" {

ExceptionState* __cxa_get_globals() noexcept {
  const DWORD index = Index();
  const DWORD error = GetLastError();
  auto* const state = static_cast<ExceptionState*>(FlsGetValue(index));
  SetLastError(error);
  return state != nullptr ? state : AddState(index);
}

ExceptionState* __cxa_get_globals_fast() noexcept { return __cxa_get_globals(); }

int __cxa_guard_acquire(Guard* guard) {
  const Locked locked;
  while (guard->isBusy != 0) {
    SleepConditionVariableSRW(&theGuardChanged, &theLock, INFINITE, 0);
  }
  if (guard->isDone != 0) return 0;
  guard->isBusy = 1;
  return 1;
}

void __cxa_guard_release(Guard* guard) noexcept { LeaveGuard(guard, true); }

void __cxa_guard_abort(Guard* guard) noexcept { LeaveGuard(guard, false); }

}  // extern "C"
