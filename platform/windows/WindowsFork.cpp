#include <utility>

#include "platform/Fork.h"

namespace tlk {

ForkMutex::ForkMutex() = default;
ForkMutex::~ForkMutex() = default;

InForkedChild::InForkedChild(std::function<void()> step) : m_step(std::move(step)) {}
InForkedChild::~InForkedChild() = default;

}  // namespace tlk
