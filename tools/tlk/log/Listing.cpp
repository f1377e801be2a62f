#include "tools/tlk/log/Listing.h"

#include <utility>

#include "tools/tlk/log/Explanations.h"
#include "tools/tlk/log/RecordJson.h"
#include "tools/tlk/log/RecordText.h"

namespace tlk::log {
namespace {

constexpr std::size_t kWrittenAtOnce = 65536;

}  // namespace

Listing::Listing(Wanted wanted, Shown shown, Write write)
    : m_filter(std::move(wanted)), m_shown(shown), m_write(std::move(write)) {
  if (!m_shown.asSummary) return;
  m_summary = std::make_unique<Summary>([this](std::string_view line) {
    m_text += line;
    m_text += '\n';
  });
}

void Listing::Take(const Record& record) {
  if (!m_filter.Lets(record)) return;
  AppendRecord(record);
  if (m_text.size() >= kWrittenAtOnce) Flush();
}

void Listing::AppendRecord(const Record& record) {
  if (m_summary != nullptr) return m_summary->Take(record);
  const std::string explanation = m_shown.withExplanations ? Explain(record) : std::string();
  if (m_shown.asJson) return AppendJson(record, explanation, m_text);
  AppendText(record, m_text);
  AppendRemarks(record, m_text);
  if (!explanation.empty()) AppendRemark(explanation, m_text);
}

void Listing::Remark(std::string_view remark) {
  if (!m_shown.asJson) return AppendRemark(remark, m_text);
  m_text += "{\"remark\":\"";
  m_text += remark;
  m_text += "\"}\n";
}

void Listing::Flush() {
  if (!m_text.empty()) m_write(m_text);
  m_text.clear();
}

void Listing::End() {
  if (m_summary != nullptr) m_summary->End();
  Flush();
}

}  // namespace tlk::log
