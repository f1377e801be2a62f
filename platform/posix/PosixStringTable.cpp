#include "platform/posix/PosixStringTable.h"

#include <algorithm>
#include <mutex>
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
  const std::unique_lock lock(m_mutex);
  if (moduleName == nullptr) {
    m_mainProgram.texts[number] = std::move(text);
    return nullptr;
  }
  std::string name = Folded(moduleName);
  Module* module = Find(name);
  if (module == nullptr) {
    module = m_modules.emplace_back(std::make_unique<Module>(Module{std::move(name), {}})).get();
  }
  module->texts[number] = std::move(text);
  return module;
}

ModuleHandle PosixStringTable::FindModule(const char* name) const {
  if (name == nullptr) return nullptr;
  const std::shared_lock lock(m_mutex);
  return Find(Folded(name));
}

int PosixStringTable::Load(ModuleHandle module, std::uint32_t number,
                           std::span<char> buffer) const {
  if (buffer.empty()) return 0;
  const std::shared_lock lock(m_mutex);
  const Module* owner = FromHandle(module);
  if (owner == nullptr) return 0;
  const auto found = owner->texts.find(number);
  if (found == owner->texts.end()) return 0;
  const size_t length = found->second.copy(buffer.data(), buffer.size() - 1);
  buffer[length] = '\0';
  return static_cast<int>(length);
}

PosixStringTable::Module* PosixStringTable::Find(const std::string& foldedName) const {
  const auto found = std::ranges::find(m_modules, foldedName, &Module::foldedName);
  return found == m_modules.end() ? nullptr : found->get();
}

const PosixStringTable::Module* PosixStringTable::FromHandle(ModuleHandle handle) const {
  if (handle == nullptr) return &m_mainProgram;
  const auto found = std::ranges::find(m_modules, handle, &std::unique_ptr<Module>::get);
  return found == m_modules.end() ? nullptr : found->get();
}

}  // namespace tlk
