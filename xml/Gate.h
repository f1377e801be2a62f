#pragma once

#include <cstddef>
#include <string_view>

namespace tlk {

class AnsiText;

/// The limits of a document that is let in.
inline constexpr std::size_t kMaxXmlDepth = 256;
inline constexpr std::size_t kMaxXmlAttributes = 1024;

/// What the gate found. `reason` is null for a document that may pass, else a constant text; `position`
/// is then the offset in bytes at which the text goes wrong.
struct GateVerdict {
  const char* reason = nullptr;
  std::size_t position = 0;

  [[nodiscard]] bool Passed() const { return reason == nullptr; }
};

/// Decides in one pass whether a text may be shown to a DOM: whether it is a well-formed and
/// namespace-well-formed XML 1.0 document without a document type declaration and within the limits.
///
/// Every DOM sits behind it, because some forgive too much and others expand too much; so all builds
/// are equally strict. The text is read as characters of the code page, whatever encoding its XML
/// declaration names. Allocates nothing on the ordinary path. Never throws, and never reads outside
/// `text`.
[[nodiscard]] GateVerdict PassXmlGate(std::string_view text, const AnsiText& codePage) noexcept;

}  // namespace tlk
