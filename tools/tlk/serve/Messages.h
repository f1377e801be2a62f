#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tools/tlk/wire/Workshop.h"

namespace tlk::serve {

/// What a message says, whoever sends and gets it: all of its text but its stamp and its ids.
struct Wording {
  std::string text;     ///< What stands behind the digits of the stamp.
  std::size_t ids = 0;  ///< Where `From` and `To` have their place in it.
};

/// A message that has come.
struct ReceivedMessage {
  std::string type;
  Wording wording;  ///< As it may be passed on.
};

/// A message from its `<` up to the last digit of its stamp, when it has `length` bytes.
[[nodiscard]] std::string OpenMessage(std::size_t length);

/// `From` and `To`.
[[nodiscard]] std::string WriteIds(std::int32_t from, std::int32_t to);

/// The text with its own length in the first stamp; as it is when it has none.
[[nodiscard]] std::string Stamped(std::string text);

/// Reads and writes the messages of the server, as text in the ANSI code page. No DOM has a hand in
/// what is sent, so it is the same on every system, and a long message takes little time.
class Messages {
 public:
  /// A frame that is a message whole and true, and may be sent on: with its attributes and children
  /// in the order that a client is used to, a `Data` in any case, and without indentation. Else
  /// none, and `fault` says what is wrong with it.
  [[nodiscard]] std::optional<ReceivedMessage> Read(std::string_view frame,
                                                    std::string& fault) const;

  /// A message to be sent; without a `Data` element when `data` is absent, with an empty one when
  /// `data` is. Data that is not one well-formed element is left out, as a client does it.
  [[nodiscard]] Wording Compose(std::string_view type, std::optional<std::string_view> data) const;

  /// The whole message.
  [[nodiscard]] static std::string Write(const Wording& wording, std::int32_t from,
                                         std::int32_t to);

  /// A message as a client sends it, to compare one with, but without indentation.
  [[nodiscard]] std::string BuildAsClient(std::string_view type,
                                          std::optional<std::string_view> data, std::int32_t from,
                                          std::int32_t to);

  [[nodiscard]] const XmlGate& Gate() const { return m_workshop.gate; }

 private:
  wire::Workshop m_workshop;
};

}  // namespace tlk::serve
