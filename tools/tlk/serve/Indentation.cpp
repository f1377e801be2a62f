#include "tools/tlk/serve/Indentation.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <utility>

#include "transport/Framing.h"

namespace tlk::serve {
namespace {

constexpr std::string_view kBeforeStamp = "<TLK_Message Length=\"";
constexpr std::size_t kLineBreakLength = 2;

struct Markup {
  std::string_view begin;
  std::string_view end;
};

/// The first that fits counts: what only looks like a tag within one of the upper three is text.
constexpr Markup kMarkups[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}, {"<", ">"}};

class IndentationRemover {
 public:
  IndentationRemover(std::string_view text, const IndentationForm& form)
      : m_form(form), m_rest(text) {}

  std::string Remove() {
    while (!m_rest.empty()) {
      TakeMarkup();
      DropIndentation();
    }
    ReduceStamp();
    return std::move(m_kept);
  }

 private:
  /// Takes everything through the end of the next tag or the like.
  void TakeMarkup() {
    const auto start = m_rest.find('<');
    Take(start);
    if (m_rest.starts_with(kBeforeStamp)) {
      ReduceStamp();
      m_stampAt = m_kept.size() + kBeforeStamp.size();
    }
    const auto* const markup =
        std::find_if(std::begin(kMarkups), std::end(kMarkups),
                     [this](const Markup& known) { return m_rest.starts_with(known.begin); });
    if (markup == std::end(kMarkups)) return;
    const auto end = m_rest.find(markup->end, markup->begin.size());
    Take(end == std::string_view::npos ? end : end + markup->end.size());
  }

  void Take(std::size_t count) {
    const auto taken = m_rest.substr(0, count);
    m_kept += taken;
    m_rest.remove_prefix(taken.size());
  }

  void DropIndentation() {
    auto behind = m_rest;
    if (!Drop(m_form.lineBreak, behind)) return;
    std::size_t dropped = kLineBreakLength;
    while (Drop(m_form.tab, behind)) ++dropped;
    const bool isEnd = !m_form.end.empty() && behind.starts_with(m_form.end);
    if (!behind.empty() && behind.front() != '<' && !isEnd) return;
    m_rest = behind;
    m_dropped += dropped;
  }

  static bool Drop(std::string_view what, std::string_view& text) {
    const bool isThere = text.starts_with(what);
    if (isThere) text.remove_prefix(what.size());
    return isThere;
  }

  /// Ends a message: takes what was dropped from it off its stamp, if that is a number.
  void ReduceStamp() {
    if (m_stampAt != 0) ReduceNumber();
    m_stampAt = 0;
    m_dropped = 0;
  }

  void ReduceNumber() {
    const auto stamp = std::string_view(m_kept).substr(m_stampAt, kLengthDigits);
    const auto* const stampEnd = stamp.data() + stamp.size();
    std::size_t length = 0;
    const auto read = std::from_chars(stamp.data(), stampEnd, length);
    if (stamp.size() == kLengthDigits && read.ptr == stampEnd && length >= m_dropped) {
      char digits[24];
      std::snprintf(digits, sizeof digits, "%07zu", length - m_dropped);
      m_kept.replace(m_stampAt, kLengthDigits, digits);
    }
  }

  const IndentationForm& m_form;
  std::string_view m_rest;
  std::string m_kept;
  std::size_t m_stampAt = 0;  ///< Where the message at hand has its stamp; 0 while there is none.
  std::size_t m_dropped = 0;  ///< Bytes of the message at hand that were dropped.
};

}  // namespace

std::string WithoutIndentation(std::string_view text, const IndentationForm& form) {
  return IndentationRemover(text, form).Remove();
}

}  // namespace tlk::serve
