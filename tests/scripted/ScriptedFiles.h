#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "platform/Files.h"
#include "tests/scripted/MemoryLimit.h"

namespace tlk::test {

enum class FileCall { kAppend, kRead, kRemove, kRename };

/// Files in memory, by their paths. Safe to use from any thread.
class ScriptedFiles final : public Files {
 public:
  /// Asked before each call is carried out, of the line of an append or else the path, with no lock
  /// held: it may block. A call for which it has a result fails, an append with that result. Set it
  /// while nobody uses the files.
  std::function<std::optional<std::int64_t>(FileCall, std::string_view)> answer =
      [](FileCall, std::string_view) { return std::nullopt; };

  [[nodiscard]] std::map<std::string, std::string> Contents() const {
    const std::lock_guard lock(m_mutex);
    return m_contents;
  }

  void SetContent(const std::string& path, const std::string& content) {
    const std::lock_guard lock(m_mutex);
    m_contents[path] = content;
  }

  [[nodiscard]] std::int64_t AppendLine(const std::string& path, std::string_view line) override {
    const PlentyOfMemory plenty;
    if (const auto result = answer(FileCall::kAppend, line)) return *result;
    const std::lock_guard lock(m_mutex);
    return static_cast<std::int64_t>(m_contents[path].append(line).append("\n").size());
  }

  /// In pieces of a hundred bytes.
  bool Read(const std::string& path, const std::function<void(std::string_view)>& take) override {
    if (answer(FileCall::kRead, path)) return false;
    const std::string content = Contents()[path];
    for (std::size_t at = 0; at < content.size(); at += 100) take(content.substr(at, 100));
    return !content.empty();
  }

  /// There is but one folder.
  bool VisitFolder(const std::string& /*path*/,
                   const std::function<void(std::string_view)>& visit) override {
    for (const auto& file : Contents()) visit(file.first);
    return true;
  }

  bool Remove(const std::string& path) override {
    const PlentyOfMemory plenty;
    if (answer(FileCall::kRemove, path)) return false;
    const std::lock_guard lock(m_mutex);
    return m_contents.erase(path) == 1;
  }

  bool Rename(const std::string& from, const std::string& to) override {
    const PlentyOfMemory plenty;
    if (answer(FileCall::kRename, from)) return false;
    const std::lock_guard lock(m_mutex);
    if (m_contents.contains(to) || !m_contents.contains(from)) return false;
    m_contents[to] = m_contents.extract(from).mapped();
    return true;
  }

 private:
  mutable std::mutex m_mutex;
  std::map<std::string, std::string> m_contents;
};

}  // namespace tlk::test
