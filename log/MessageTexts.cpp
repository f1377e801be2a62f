#include "log/MessageTexts.h"

#include <atomic>
#include <cstdio>

namespace tlk {

namespace {

std::atomic<bool> areTextsLeftOut{false};

}  // namespace

void LeaveOutMessageTexts(bool areLeftOut) noexcept { areTextsLeftOut = areLeftOut; }

ShownText::ShownText(std::string_view text) noexcept : m_view(text) {
  if (!areTextsLeftOut.load(std::memory_order_relaxed)) return;
  std::snprintf(m_length.data(), m_length.size(), "(%zu bytes left out)", text.size());
  m_view = m_length.data();
}

}  // namespace tlk
