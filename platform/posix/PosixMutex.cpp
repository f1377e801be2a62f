#include "platform/posix/PosixMutex.h"

#include <mutex>
#include <utility>
#include <vector>

#include "platform/Fork.h"

namespace tlk {
namespace {

class PrivateHome final : public MutexHome {
 public:
  [[nodiscard]] RobustMutex& Mutex() override { return m_mutex; }

 private:
  RobustMutex m_mutex{RobustMutex::Sharing::kThreads};
};

/// The homes whose last object is gone. A home is freed at once unless another thread of this
/// process holds its mutex: then it stays here, and is tried again whenever another one comes.
struct AbandonedHomes {
  ForkMutex mutex;
  std::vector<std::unique_ptr<MutexHome>> homes;

  /// It is never destroyed, because mutexes may be, until the very end of the process.
  static AbandonedHomes& Get() {
    static AbandonedHomes& abandoned = *new AbandonedHomes;
    return abandoned;
  }
};

[[maybe_unused]] const AbandonedHomes& kHomesMadeEarly = AbandonedHomes::Get();

void Leave(std::unique_ptr<MutexHome> home) {
  AbandonedHomes& abandoned = AbandonedHomes::Get();
  const std::lock_guard lock(abandoned.mutex);
  abandoned.homes.push_back(std::move(home));
  std::erase_if(abandoned.homes, [](const auto& left) { return left->Mutex().LetGo(); });
}

}  // namespace

std::shared_ptr<MutexHome> ShareMutexHome(std::unique_ptr<MutexHome> home) {
  return {home.release(), [](MutexHome* left) { Leave(std::unique_ptr<MutexHome>(left)); }};
}

std::unique_ptr<PosixMutex> NewUnnamedMutex() {
  auto home = std::make_unique<PrivateHome>();
  if (!home->Mutex().IsValid()) return nullptr;
  return std::make_unique<PosixMutex>(ShareMutexHome(std::move(home)));
}

}  // namespace tlk
