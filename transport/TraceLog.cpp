#include "transport/TraceLog.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "control/Tlkc.h"
#include "log/MessageTexts.h"
#include "log/iLogger.h"

namespace tlk {

namespace {

// The two forms of a record, and the entry of the control's string table, which is "%s".
constexpr std::int32_t kNormalLevel = 0;
constexpr std::int32_t kErrorLevel = 2;
constexpr std::uint32_t kTextMessage = 101;

// No record is longer than this, so nothing longer need be put together for one.
constexpr std::size_t kLongestText = 8192;

// A record that is put together without asking for memory: the lack of it is to be recorded, too.
class WholeText {
 public:
  void Append(std::string_view text) {
    const std::size_t room = m_text.size() - 1 - m_length;
    m_length += text.copy(m_text.data() + m_length, std::min(text.size(), room));
    m_text[m_length] = '\0';
  }
  void Append(std::int64_t number) {
    std::array<char, 20> digits;
    const auto end = std::to_chars(digits.begin(), digits.end(), number).ptr;
    Append({digits.data(), static_cast<std::size_t>(end - digits.data())});
  }
  [[nodiscard]] const char* Text() const { return m_text.data(); }

 private:
  static constexpr std::size_t kFixedText = 128;

  std::array<char, kLongestText + kFixedText> m_text;  // Left unset beyond the text.
  std::size_t m_length = 0;
};

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
  WholeText whole;
  whole.Append(record.text);
  whole.Append(ShownText(text).View().substr(0, kLongestText));
  whole.Append("\n");
  m_ports.log.LogNormal(m_module, kNormalLevel, kTextMessage, trace::kSourceName, record.line,
                        whole.Text());
}

void CTlkc::LogError(const TraceRecord& record) {
  m_ports.log.LogError(m_module, kErrorLevel, kTextMessage, trace::kSourceName, record.line,
                       record.text);
}

void CTlkc::LogError(const TraceRecord& record, std::int64_t number) {
  WholeText whole;
  whole.Append(record.text);
  whole.Append(number);
  m_ports.log.LogError(m_module, kErrorLevel, kTextMessage, trace::kSourceName, record.line,
                       whole.Text());
}

}  // namespace tlk
