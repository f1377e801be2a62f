#pragma once

#include <gtest/gtest.h>
#include <objbase.h>

#include <cstddef>
#include <cstdio>
#include <string>

#include "xml/Gate.h"
#include "xml/msxml/MsxmlDom.h"

namespace tlk {

/// The DOM of the build.
using SystemDomFactory = MsxmlDomFactory;

/// The deepest body of a message that it takes. (Wine's has a limit of its own.)
inline constexpr std::size_t kDeepestBody = kMaxXmlDepth - 2;

/// What a thread has while it uses the DOM: COM.
class DomThread {
 public:
  DomThread() { EXPECT_GE(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), 0); }
  ~DomThread() { CoUninitialize(); }

  DomThread(const DomThread&) = delete;
  DomThread& operator=(const DomThread&) = delete;
};

/// Whether the DOM answers every path; one that does not says so.
inline constexpr bool kAnswersEveryPath = true;

inline std::string LengthStamp(std::size_t length) {
  char stamp[40];
  std::snprintf(stamp, sizeof stamp, " Length=\"%07zu\"", length);
  return stamp;
}

/// A serialised text without the line breaks and tabs that this DOM adds between tags and at the
/// end. A stamp that was the length of the whole is that of what is left.
inline std::string WithoutIndentation(const std::string& text) {
  std::string bare;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isBreak = bare.ends_with('>') && text.compare(i, 2, "\r\n") == 0;
    const std::size_t next = isBreak ? text.find_first_not_of('\t', i + 2) : i;
    if (next == std::string::npos) break;
    if (text[next] == '<') i = next;
    bare += text[i];
  }
  const std::string stamp = LengthStamp(text.size());
  const std::size_t at = bare.find(stamp);
  if (at != std::string::npos) bare.replace(at, stamp.size(), LengthStamp(bare.size()));
  return bare;
}

}  // namespace tlk
