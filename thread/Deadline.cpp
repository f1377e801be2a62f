#include "thread/Deadline.h"

#include <algorithm>

#include "platform/Synchronisation.h"
#include "thread/LockResult.h"
#include "thread/ZThread.h"

namespace tlk {

namespace {

constexpr std::int64_t kMicrosecondsPerMillisecond = 1'000;
constexpr std::int64_t kLongestWait = kNoLimit - 1;

/// The clock moves on in steps of this length: what it shows may be almost that old.
constexpr std::int64_t kClockStep = kMicrosecondsPerMillisecond;

std::int64_t EndOf(std::int64_t limit) {
  if (limit <= 0) return 0;
  if (limit == kForever) return kForever;
  const std::int64_t start = ZThread::TickMicroseconds() + kClockStep;
  return limit < kForever - start ? start + limit : kForever;
}

}  // namespace

Deadline::Deadline(std::int64_t microseconds) : fEnd(EndOf(microseconds)) {}

std::int64_t Deadline::MicrosecondsLeft() const {
  return fEnd == 0 || fEnd == kForever ? fEnd : fEnd - ZThread::TickMicroseconds();
}

std::uint32_t Deadline::MillisecondsLeft() const {
  const std::int64_t left = MicrosecondsLeft();
  if (left == kForever) return kNoLimit;
  if (left <= 0) return 0;
  const std::int64_t milliseconds = (left - 1) / kMicrosecondsPerMillisecond + 1;
  return static_cast<std::uint32_t>(std::min(milliseconds, kLongestWait));
}

}  // namespace tlk
