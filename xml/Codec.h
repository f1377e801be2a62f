#pragma once

namespace tlk {

class AnsiText;
class DomFactory;
class XmlGate;
class iLogger;

/// What message documents are built and read with, and where their failures are recorded. It refers
/// to its parts and owns none.
struct Codec {
  DomFactory& dom;
  const AnsiText& text;
  const XmlGate& gate;
  iLogger& log;
};

}  // namespace tlk
