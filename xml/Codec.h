#pragma once

#include <cstddef>

#include "xml/Gate.h"

namespace tlk {

class AnsiText;
class DomFactory;
class iLogger;

/// What message documents are built and read with, and where their failures are recorded. It refers
/// to its parts and owns none.
struct Codec {
  DomFactory& dom;       ///< What makes documents.
  const AnsiText& text;  ///< The code page of all texts.
  const XmlGate& gate;   ///< What lets texts in.
  iLogger& log;          ///< What gets the failures.

  /// How deep a document that is read may be.
  std::size_t maxDepth = kMaxXmlDepth;
};

}  // namespace tlk
