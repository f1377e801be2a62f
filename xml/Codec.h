#pragma once

namespace tlk {

class AnsiText;
class DomFactory;
class iLogger;

/// What message documents are built and read with, and where their failures are recorded. It refers
/// to its parts and owns none.
struct Codec {
  DomFactory& dom;
  const AnsiText& text;
  iLogger& log;
};

}  // namespace tlk
