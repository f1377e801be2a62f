#pragma once

#include <cstddef>
#include <string>

#include "xml/Gate.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk {

/// The DOM of the build.
using SystemDomFactory = PugiDomFactory;

/// The deepest body of a message that it takes.
inline constexpr std::size_t kDeepestBody = kMaxXmlDepth;

/// What a thread has while it uses the DOM: nothing here.
struct DomThread {
  DomThread() {}
};

/// Whether the DOM answers every path; one that does not says so.
inline constexpr bool kAnswersEveryPath = false;

/// This DOM adds none.
inline std::string WithoutIndentation(const std::string& text) { return text; }

}  // namespace tlk
