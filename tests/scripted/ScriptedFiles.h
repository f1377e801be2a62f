#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/Files.h"

namespace tlk::test {

/// One call of a file port, as it was made.
struct FileCall {
  enum class Kind { kAppend, kRead, kRemove, kRename };

  Kind kind;
  std::string path;
  std::string argument = {};  ///< The line, or the new name.

  bool operator==(const FileCall&) const = default;
};

/// Files in memory. Any call can be made to fail. Safe to use from any thread.
class ScriptedFiles final : public Files {
 public:
  using Predicate = std::function<bool(const FileCall&)>;

  /// Makes every call for which `matches` is true fail, until `HealAll`. A failing append answers
  /// `appendResult`.
  void FailWhen(Predicate matches, std::int64_t appendResult = append_result::kNotOpened) {
    const std::lock_guard lock(m_mutex);
    m_faults.push_back({std::move(matches), appendResult});
  }

  /// Makes one call fail: the `nth` of that kind from now, counted from 1.
  void FailNth(FileCall::Kind kind, int nth) {
    FailWhen([kind, nth, seen = 0](const FileCall& call) mutable {
      return call.kind == kind && ++seen == nth;
    });
  }

  void HealAll() {
    const std::lock_guard lock(m_mutex);
    m_faults.clear();
  }

  /// Called in each call, before it is carried out, with no lock held: it may block. Set it before
  /// other threads use the files.
  void OnCall(std::function<void(const FileCall&)> action) { m_onCall = std::move(action); }

  /// Every call so far, the failed ones included.
  [[nodiscard]] std::vector<FileCall> Calls() const {
    const std::lock_guard lock(m_mutex);
    return m_calls;
  }

  /// What a file holds; nothing when there is no such file.
  [[nodiscard]] std::optional<std::string> Content(const std::string& path) const {
    const std::lock_guard lock(m_mutex);
    const auto found = m_contents.find(path);
    return found == m_contents.end() ? std::nullopt : std::optional(found->second);
  }

  void SetContent(const std::string& path, std::string content) {
    const std::lock_guard lock(m_mutex);
    m_contents[path] = std::move(content);
  }

  [[nodiscard]] std::vector<std::string> Names() const {
    const std::lock_guard lock(m_mutex);
    std::vector<std::string> names;
    for (const auto& entry : m_contents) names.push_back(entry.first);
    return names;
  }

  [[nodiscard]] std::int64_t AppendLine(const std::string& path, std::string_view line) override {
    const FileCall call{FileCall::Kind::kAppend, path, std::string(line)};
    Announce(call);
    const std::lock_guard lock(m_mutex);
    if (const auto fault = Record(call)) return *fault;
    std::string& content = m_contents[path];
    content.append(line).push_back('\n');
    return static_cast<std::int64_t>(content.size());
  }

  /// In pieces of a hundred bytes.
  bool Read(const std::string& path, const std::function<void(std::string_view)>& take) override {
    const FileCall call{FileCall::Kind::kRead, path};
    Announce(call);
    const std::optional<std::string> content = Content(path);
    const std::lock_guard lock(m_mutex);
    if (Record(call) || !content) return false;
    for (std::size_t at = 0; at < content->size(); at += 100) take(content->substr(at, 100));
    return true;
  }

  /// There is but one folder.
  bool VisitFolder(const std::string& /*path*/,
                   const std::function<void(std::string_view)>& visit) override {
    for (const std::string& name : Names()) visit(name);
    return true;
  }

  bool Remove(const std::string& path) override {
    const FileCall call{FileCall::Kind::kRemove, path};
    Announce(call);
    const std::lock_guard lock(m_mutex);
    return !Record(call) && m_contents.erase(path) == 1;
  }

  bool Rename(const std::string& from, const std::string& to) override {
    const FileCall call{FileCall::Kind::kRename, from, to};
    Announce(call);
    const std::lock_guard lock(m_mutex);
    if (Record(call) || !m_contents.contains(from) || m_contents.contains(to)) return false;
    auto node = m_contents.extract(from);
    node.key() = to;
    m_contents.insert(std::move(node));
    return true;
  }

 private:
  struct Fault {
    Predicate matches;
    std::int64_t appendResult;
  };

  void Announce(const FileCall& call) const {
    if (m_onCall) m_onCall(call);
  }

  /// Notes a call; its result when it is to fail.
  std::optional<std::int64_t> Record(const FileCall& call) {
    m_calls.push_back(call);
    std::optional<std::int64_t> result;
    for (const Fault& fault : m_faults)
      if (fault.matches(call)) result = fault.appendResult;
    return result;
  }

  mutable std::mutex m_mutex;
  std::map<std::string, std::string> m_contents;
  std::vector<FileCall> m_calls;
  std::vector<Fault> m_faults;
  std::function<void(const FileCall&)> m_onCall;
};

}  // namespace tlk::test
