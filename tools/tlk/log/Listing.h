#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "tools/tlk/log/RecordFilter.h"
#include "tools/tlk/log/Summary.h"

namespace tlk::log {

/// What is shown of the records that are wanted.
struct Shown {
  bool asJson = false;
  bool withExplanations = false;
  bool asSummary = false;
};

/// Shows records in the form that was asked for, many at a time.
class Listing {
 public:
  using Write = std::function<void(std::string_view text)>;

  Listing(Wanted wanted, Shown shown, Write write);

  void Take(const Record& record);

  /// Tells of something between two records.
  void Remark(std::string_view remark);

  /// Writes what has been shown so far.
  void Flush();

  /// No more records come.
  void End();

 private:
  void AppendRecord(const Record& record);

  RecordFilter m_filter;
  const Shown m_shown;
  const Write m_write;
  std::string m_text;
  std::unique_ptr<Summary> m_summary;
};

}  // namespace tlk::log
