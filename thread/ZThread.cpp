#include "thread/ZThread.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <new>

#include "platform/CallingThread.h"
#include "platform/Fork.h"
#include "platform/Surroundings.h"
#include "platform/Synchronisation.h"
#include "thread/Reporter.h"
#include "thread/ThreadLayer.h"

namespace tlk {

namespace {

constexpr const char* kThreadSource = "ZThread";
constexpr std::int32_t kExceptionLine = 468;
constexpr std::int32_t kUnknownExceptionLine = 472;
constexpr std::size_t kMaxMessage = 1024;

constexpr const char* kMainThreadName = "ZThread::sMainThread";

constexpr std::int64_t kMicrosecondsPerMillisecond = 1000;
constexpr std::int64_t kLongestSleep = 1'073'741'824;
constexpr std::int64_t kLongestWait = 1'000'000;
constexpr std::int64_t kTimesPerMicrosecond = 10;

std::uint32_t WholeMilliseconds(std::int64_t microseconds) {
  return static_cast<std::uint32_t>(microseconds / kMicrosecondsPerMillisecond);
}

// Not with the formatting buffer of the process: several threads may end like this at once.
void ReportUncaught(const std::exception& exception) {
  std::array<char, kMaxMessage> message{};
  std::snprintf(message.data(), message.size(), "Uncaught exception: %s", exception.what());
  Report(Fatal::kNo, kThreadSource, kExceptionLine, nullptr, message.data());
}

}  // namespace

constinit std::atomic<ZThread*> ZThread::sMainThread = nullptr;
constinit std::atomic<ThreadSlot*> ZThread::sSlot = nullptr;

ZThread::ZThread(const char* name)
    : fName(name),
      fHandle(ThreadLayer::Ports().synchronisation.NewThread([this] { RunShim(this); })) {
  if (fHandle == nullptr) throw std::bad_alloc();
  fId = fHandle->Id();
}

ZThread::ZThread(Synchronisation& synchronisation)
    : fId(synchronisation.CurrentThreadId()),
      fIsStarted(true),
      fName(kMainThreadName),
      fHandle(synchronisation.OpenCurrentThread()) {
  ThreadSlot* const slot = synchronisation.NewThreadSlot().release();
  if (slot != nullptr) slot->Set(this);
  sSlot = slot;
  sMainThread = this;
  // The thread that forks lives on in the child under another number.
  static const InForkedChild renumbered([] {
    if (ZThread* const self = Current()) self->fId = CallingThread();
  });
}

ZThread::~ZThread() {
  if (this == sMainThread) {
    ForgetMainThread();
  } else {
    fHandle->LeaveOpen();
  }
}

void ZThread::ForgetMainThread() noexcept {
  sMainThread = nullptr;
  const std::unique_ptr<ThreadSlot> ended(sSlot.exchange(nullptr));
}

void ZThread::Start() {
  fIsStarted = true;
  // The object, and its hold on the handle, may go while the thread is still being resumed.
  const std::shared_ptr<SystemThread> handle = fHandle;
  handle->Resume();
}

void ZThread::RunShim(ZThread* object) {
  const std::unique_ptr<ZThread> owned(object);
  if (ThreadSlot* const slot = sSlot) slot->Set(object);
  object->RunReported();
}

void ZThread::RunReported() {
  try {
    Run();
  } catch (const std::exception& exception) {
    ReportUncaught(exception);
  } catch (...) {
    // `pthread_exit` unwinds the thread with something that is no exception and must go on.
    if (std::current_exception() == nullptr) throw;
    Report(Fatal::kNo, kThreadSource, kUnknownExceptionLine, nullptr,
           "Uncaught exception, unknown type");
  }
}

std::shared_ptr<Waitable> ZThread::Handle() const { return fHandle; }

ZThread* ZThread::Current() noexcept {
  const ThreadSlot* const slot = sSlot;
  return slot != nullptr ? static_cast<ZThread*>(slot->Get()) : nullptr;
}

void ZThread::Sleep(std::int64_t microseconds) {
  while (microseconds > 0) {
    const std::int64_t piece = std::min(microseconds, kLongestSleep);
    ThreadLayer::Ports().surroundings.Sleep(WholeMilliseconds(piece));
    microseconds -= piece;
  }
}

std::int64_t ZThread::TickMicroseconds() {
  const std::uint64_t milliseconds = ThreadLayer::Ports().surroundings.TickCount();
  return static_cast<std::int64_t>(milliseconds) * kMicrosecondsPerMillisecond;
}

bool ZThread::WaitUntil(Waitable& handle, std::int64_t deadline) {
  for (std::int64_t now = TickMicroseconds(); now < deadline; now = TickMicroseconds()) {
    const std::int64_t step = std::min(deadline - now, kLongestWait);
    const WaitResult result = handle.Wait(WholeMilliseconds(step));
    if (result != WaitResult::kTimedOut) return result != WaitResult::kFailed;
  }
  return false;
}

void ZThread::ProcessTimes(std::int64_t& now, std::int64_t& processor) {
  tlk::ProcessTimes times;
  if (!ThreadLayer::Ports().surroundings.ReadProcessTimes(times)) times = {};
  now = times.now / kTimesPerMicrosecond;
  processor = times.processor / kTimesPerMicrosecond;
}

}  // namespace tlk
