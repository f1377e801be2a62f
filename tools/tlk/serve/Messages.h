#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "xml/Codec.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk::serve {

/// The id that a message from or to the server itself carries.
inline constexpr std::int32_t kServerId = 0;

/// The types that keep a connection alive: what an idle client sends, and what it is answered.
inline constexpr std::string_view kKeepAlive = "Keep Connection Alive";
inline constexpr std::string_view kKeepAliveAnswer = "Keep Connection Alive Response";

/// Reads and builds the messages of the server, as text in the ANSI code page.
class Messages {
 public:
  Messages();

  /// The type of a frame that is a message document whole and true; else none, and `fault` says
  /// what is wrong with it.
  [[nodiscard]] std::optional<std::string> ReadType(std::string_view frame, std::string& fault);

  /// A message; without a `Data` element when `data` is absent. Data that is not one well-formed
  /// element is left out, as a client does it.
  [[nodiscard]] std::string Build(std::string_view type, std::optional<std::string_view> data,
                                  std::int32_t from, std::int32_t to);

  /// The same message with other ids, its type and data untouched.
  [[nodiscard]] std::string Readdress(std::string_view frame, std::int32_t from, std::int32_t to);

 private:
  PugiDomFactory m_dom;
  Codec m_codec;
};

}  // namespace tlk::serve
