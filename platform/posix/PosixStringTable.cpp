#include "platform/posix/PosixStringTable.h"

#include <algorithm>
#include <functional>
#include <mutex>
#include <tuple>
#include <utility>

namespace tlk {
namespace {

std::string Folded(const char* name) {
  std::string folded(name);
  std::ranges::transform(folded, folded.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return folded;
}

}  // namespace

ModuleHandle PosixStringTable::Register(const char* moduleName, std::uint32_t number,
                                        std::string text) {
  const std::lock_guard lock(m_mutex);
  ModuleHandle module = nullptr;
  if (moduleName != nullptr) {
    std::string name = Folded(moduleName);
    module = Find(name);
    if (module == nullptr) module = &m_modules.emplace_back(std::move(name));
  }
  Chain& chain = m_newest[ChainOf(module, number)];
  const Text* const older = chain.load(std::memory_order_relaxed);
  chain.store(&m_texts.emplace_back(Text{module, number, std::move(text), older}),
              std::memory_order_release);
  return module;
}

ModuleHandle PosixStringTable::FindModule(const char* name) const {
  if (name == nullptr) return nullptr;
  const std::lock_guard lock(m_mutex);
  return Find(Folded(name));
}

int PosixStringTable::Load(ModuleHandle module, std::uint32_t number,
                           std::span<char> buffer) const {
  if (buffer.empty()) return 0;
  const Text* found = m_newest[ChainOf(module, number)].load(std::memory_order_acquire);
  while (found != nullptr && (found->module != module || found->number != number))
    found = found->older;
  if (found == nullptr) return 0;
  const size_t length = found->text.copy(buffer.data(), buffer.size() - 1);
  buffer[length] = '\0';
  return static_cast<int>(length);
}

std::size_t PosixStringTable::ChainOf(ModuleHandle module, std::uint32_t number) {
  return (std::hash<ModuleHandle>()(module) / sizeof(std::string) + number) %
         std::tuple_size_v<decltype(m_newest)>;
}

const std::string* PosixStringTable::Find(const std::string& foldedName) const {
  const auto found = std::ranges::find(m_modules, foldedName);
  return found == m_modules.end() ? nullptr : &*found;
}

}  // namespace tlk
