#include "thread/SpinWord.h"

#include "platform/Surroundings.h"
#include "thread/Reporter.h"
#include "thread/ThreadLayer.h"

namespace tlk {

namespace {

constexpr std::uint32_t kFree = 0;
constexpr std::uint32_t kTaken = 1;
constexpr std::int32_t kReleaseLine = 518;

}  // namespace

void SpinWord::Acquire() {
  while (fWord.exchange(kTaken, std::memory_order_acquire) == kTaken) {
    ThreadLayer::Ports().surroundings.Sleep(0);
  }
}

void SpinWord::Release() {
  const std::uint32_t priorValue = fWord.exchange(kFree, std::memory_order_release);
  if (priorValue != kTaken) {
    Report(Fatal::kYes, "ZThread", kReleaseLine, "priorValue == 1", nullptr);
  }
}

}  // namespace tlk
