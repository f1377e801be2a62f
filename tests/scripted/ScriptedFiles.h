#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/Files.h"
#include "tests/scripted/MemoryLimit.h"

namespace tlk::test {

/// One call of a file port, as it was made.
struct FileCall {
  enum class Kind { kAppend, kRead, kRemove, kRename };

  Kind kind;
  std::string path;
  std::string argument = {};  ///< The line, or the new name.
};

/// Files in memory, by their paths. Safe to use from any thread.
class ScriptedFiles final : public Files {
 public:
  /// Asked before each call is carried out, with no lock held: it may block. A call for which it
  /// has a result fails, an append with that result. Set it while nobody uses the files.
  std::function<std::optional<std::int64_t>(const FileCall&)> answer;

  /// Every call so far, the failed ones included.
  [[nodiscard]] std::vector<FileCall> Calls() const {
    const std::lock_guard lock(m_mutex);
    return m_calls;
  }

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
    if (const auto result = Ask({FileCall::Kind::kAppend, path, std::string(line)})) return *result;
    const std::lock_guard lock(m_mutex);
    return static_cast<std::int64_t>(m_contents[path].append(line).append("\n").size());
  }

  /// In pieces of a hundred bytes.
  bool Read(const std::string& path, const std::function<void(std::string_view)>& take) override {
    if (Ask({FileCall::Kind::kRead, path})) return false;
    const auto contents = Contents();
    const auto file = contents.find(path);
    if (file == contents.end()) return false;
    for (std::size_t at = 0; at < file->second.size(); at += 100)
      take(file->second.substr(at, 100));
    return true;
  }

  /// There is but one folder.
  bool VisitFolder(const std::string& /*path*/,
                   const std::function<void(std::string_view)>& visit) override {
    for (const auto& file : Contents()) visit(file.first);
    return true;
  }

  bool Remove(const std::string& path) override {
    const PlentyOfMemory plenty;
    if (Ask({FileCall::Kind::kRemove, path})) return false;
    const std::lock_guard lock(m_mutex);
    return m_contents.erase(path) == 1;
  }

  bool Rename(const std::string& from, const std::string& to) override {
    const PlentyOfMemory plenty;
    if (Ask({FileCall::Kind::kRename, from, to})) return false;
    const std::lock_guard lock(m_mutex);
    if (m_contents.contains(to)) return false;
    auto file = m_contents.extract(from);
    if (file.empty()) return false;
    file.key() = to;
    return m_contents.insert(std::move(file)).inserted;
  }

 private:
  std::optional<std::int64_t> Ask(const FileCall& call) {
    const auto result = answer ? answer(call) : std::nullopt;
    const std::lock_guard lock(m_mutex);
    m_calls.push_back(call);
    return result;
  }

  mutable std::mutex m_mutex;
  std::map<std::string, std::string> m_contents;
  std::vector<FileCall> m_calls;
};

}  // namespace tlk::test
