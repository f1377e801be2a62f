#include "tools/tlk/message/CaptureKind.h"

#include <algorithm>
#include <iterator>

namespace tlk::message {
namespace {

struct Kind {
  std::string_view begin;
  std::string_view name;
};

/// Of packets, in each order of bytes and with either unit of time.
constexpr std::string_view kPcap = "a capture of packets (pcap)";

constexpr Kind kKinds[] = {
    {"\xA1\xB2\xC3\xD4", kPcap},
    {"\xD4\xC3\xB2\xA1", kPcap},
    {"\xA1\xB2\x3C\x4D", kPcap},
    {"\x4D\x3C\xB2\xA1", kPcap},
    {"\x0A\x0D\x0D\x0A", "a capture of packets (pcapng)"},
    {"\x1F\x8B", "compressed (gzip)"},
};

}  // namespace

std::string_view ForeignKind(std::string_view firstBytes) {
  const auto* const kind = std::find_if(std::begin(kKinds), std::end(kKinds), [&](const Kind& k) {
    return firstBytes.starts_with(k.begin);
  });
  return kind == std::end(kKinds) ? std::string_view() : kind->name;
}

}  // namespace tlk::message
