#include "thread/ZRefCount.h"

#include <cstdlib>

#include "thread/Reporter.h"

namespace tlk {

namespace {

constexpr const char* kRefCountSource = "ZRefCount";
constexpr std::int32_t kDereferenceLine = 45;

[[noreturn]] void EndWith(const char* message, std::int32_t line) {
  Report(Fatal::kYes, kRefCountSource, line, nullptr, message);
  std::abort();  // Not reached: a fatal report does not return.
}

}  // namespace

void ZRefCountedWithFinalization::Finalize() { delete this; }

void EndOnDeadAccess(RefAccess access) {
  EndWith(FormatText("ZRef accessed with nil object or invalid reference count"),
          static_cast<std::int32_t>(access));
}

void EndOnDeadDereference() {
  EndWith(FormatText("ZRef dereferenced with nil object or invalid reference count"),
          kDereferenceLine);
}

}  // namespace tlk
