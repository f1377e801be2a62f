#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tools/tlk/wire/SilentLog.h"
#include "xml/Codec.h"
#include "xml/Gate.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk::serve {

/// Reads and builds the messages of the server, as text in the ANSI code page.
class Messages {
 public:
  Messages();

  /// The type of a frame that is a message document whole and true; else none, and `fault` says
  /// what is wrong with it.
  [[nodiscard]] std::optional<std::string> ReadType(std::string_view frame, std::string& fault);

  /// A message; without a `Data` element when `data` is absent, with an empty one when `data` is.
  /// Data that is not one well-formed element is left out, as a client does it.
  [[nodiscard]] std::string Build(std::string_view type, std::optional<std::string_view> data,
                                  std::int32_t from, std::int32_t to);

  /// The same message with other ids, its type and data untouched.
  [[nodiscard]] std::string Readdress(std::string_view frame, std::int32_t from, std::int32_t to);

 private:
  PugiDomFactory m_dom;
  XmlGate m_gate;
  SilentLog m_log;
  Codec m_codec;
};

}  // namespace tlk::serve
