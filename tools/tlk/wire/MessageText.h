#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "xml/Gate.h"

namespace tlk::wire {

/// A child of a message's root, where it stands in the message.
struct MessageChild {
  std::string_view tag;      ///< The tag that opens it; empty when there is no such child.
  std::string_view content;  ///< What is between its tags.
};

/// A message taken apart, without a DOM: everything refers to the bytes it was read from.
struct MessageText {
  /// The children that mean something, in the order that they ought to have.
  enum Child { kFrom, kTo, kData };
  static constexpr std::array<std::string_view, 3> kChildNames = {"From", "To", "Data"};

  GateVerdict
      verdict;  ///< Whether the message is XML that a client reads; if not, no more is said.
  std::string_view root;                 ///< The root's opening tag.
  std::array<MessageChild, 3> children;  ///< The first of each name.
  MessageChild repeated;                 ///< The first that has a name for the second time.
  MessageChild misplaced;                ///< The first that stands behind one it ought to precede.
  MessageChild unknown;                  ///< The first that has none of these names.

  /// The root's `Type` as it is written; none without it.
  [[nodiscard]] std::optional<std::string_view> Type() const;
};

/// Takes the bytes of one message apart; they outlive the result.
[[nodiscard]] MessageText ReadMessageText(std::string_view frame, const XmlGate& gate);

}  // namespace tlk::wire
