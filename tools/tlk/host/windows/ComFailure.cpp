#include "tools/tlk/host/windows/ComFailure.h"

#include <array>
#include <cstdio>

namespace tlk::host {
namespace {

std::string SystemText(HRESULT hr) {
  std::array<char, 512> text{};
  const DWORD length = FormatMessageA(
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
      nullptr, static_cast<DWORD>(hr), 0, text.data(), text.size(), nullptr);
  const std::string said = ' ' + std::string(text.data(), length);
  return said.substr(0, said.find_last_not_of(' ') + 1);
}

std::string Describe(const std::string& subject, HRESULT hr) {
  std::array<char, 16> code{};
  std::snprintf(code.data(), code.size(), ": 0x%08lX", static_cast<unsigned long>(hr));
  return subject + code.data() + SystemText(hr);
}

}  // namespace

ComFailure::ComFailure(const std::string& subject, HRESULT hr)
    : std::runtime_error(Describe(subject, hr)) {}

}  // namespace tlk::host
