#pragma once

#include <array>
#include <string_view>

#include "platform/Export.h"

namespace tlk {

/// Leaves out of the records of all logs of the process what a peer or a host has written, or, with
/// `false`, lets it in again, as it is from the beginning. A forked child goes on as its parent.
///
/// Every record stays, with its fixed words, its numbers and its line. In the place of a text
/// stands how long it is,
///
///     (131 bytes left out)
///
/// in the records "Message sent. " (whole messages), "Message Recieved. " and "Message Skipped. "
/// (types: they are the peer's words, too), and in the codec's failures, also where these are shown
/// on standard output: the path that found nothing, and what the DOM says of a malformed text. The
/// gate's reasons stay, which are fixed words and a place. What a program has recorded itself
/// through `iLogger` is its own affair.
///
/// Safe from any thread. A record that is just being made has either; one that was made before
/// keeps its text, also when it has yet to be written.
TLKC2_API void LeaveOutMessageTexts(bool areLeftOut = true) noexcept;

/// What a record shows of a text that a peer or a host has written: the text, or how long it is. It
/// refers to the text and asks for no memory.
class ShownText {
 public:
  /// `text` must stay as long as this object.
  explicit ShownText(std::string_view text) noexcept;
  ShownText(const ShownText&) = delete;
  ShownText& operator=(const ShownText&) = delete;

  /// What the record shows.
  [[nodiscard]] std::string_view View() const { return m_view; }

 private:
  std::array<char, 48> m_length;  // Left unset when the text itself is shown.
  std::string_view m_view;
};

}  // namespace tlk
