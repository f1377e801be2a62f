#include "transport/TraceLog.h"

#include <string>

#include "control/Tlkc.h"
#include "log/iLogger.h"

namespace tlk {

namespace {

// The two forms of a record, and the entry of the control's string table, which is "%s".
constexpr std::int32_t kNormalLevel = 0;
constexpr std::int32_t kErrorLevel = 2;
constexpr std::uint32_t kTextMessage = 101;

// No record is longer than this, so nothing longer need be put together for one.
constexpr std::size_t kLongestText = 8192;

}  // namespace

void CTlkc::LogNormal(const TraceRecord& record) {
  m_ports.log.LogNormal(m_module, kNormalLevel, kTextMessage, trace::kSourceName, record.line,
                        record.text);
}

void CTlkc::LogNormal(const TraceRecord& record, std::int32_t number) {
  m_ports.log.LogNormal(m_module, kNormalLevel, kTextMessage, trace::kSourceName, record.line,
                        record.text, number);
}

void CTlkc::LogNormal(const TraceRecord& record, std::string_view text) {
  if (m_ports.log.GetLevel() < kNormalLevel) {
    return;  // Not worth putting together.
  }
  std::string whole(record.text);
  whole.append(text.substr(0, kLongestText)).append("\n");
  m_ports.log.LogNormal(m_module, kNormalLevel, kTextMessage, trace::kSourceName, record.line,
                        whole.c_str());
}

void CTlkc::LogError(const TraceRecord& record) {
  m_ports.log.LogError(m_module, kErrorLevel, kTextMessage, trace::kSourceName, record.line,
                       record.text);
}

void CTlkc::LogError(const TraceRecord& record, std::int64_t number) {
  const std::string whole = record.text + std::to_string(number);
  m_ports.log.LogError(m_module, kErrorLevel, kTextMessage, trace::kSourceName, record.line,
                       whole.c_str());
}

}  // namespace tlk
