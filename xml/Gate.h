#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/Export.h"

namespace tlk {

class AnsiText;

/// How deep a document that is let in may be. The root element is at depth 1.
inline constexpr std::size_t kMaxXmlDepth = 256;
/// A message has the envelope's root and `Data` around its body: what one control may send, another
/// can receive.
inline constexpr std::size_t kMaxMessageDepth = kMaxXmlDepth + 2;
/// How many attributes an element may have, namespace declarations among them.
inline constexpr std::size_t kMaxXmlAttributes = 1024;

/// What the gate found.
struct GateVerdict {
  const char* reason = nullptr;  ///< Null for a document that may pass, else a constant text.
  std::size_t position = 0;      ///< The offset in bytes at which the text goes wrong.
  bool lacksMemory = false;      ///< Nothing may be wrong with the text then.

  /// Whether the document may pass.
  [[nodiscard]] bool Passed() const { return reason == nullptr; }
};

/// Decides in one pass whether a text may be shown to a DOM: whether it is a well-formed and
/// namespace-well-formed XML 1.0 document without a document type declaration and within the
/// limits.
///
/// Every DOM sits behind it, because some forgive too much and others expand too much; so all
/// builds are equally strict. The text is read as characters of the code page, whatever encoding
/// its XML declaration names.
///
/// A gate knows the characters of its code page, to which it refers; make one and keep it. Safe to
/// use from any thread.
class TLKC2_API XmlGate {
 public:
  /// `codePage` outlives the gate.
  explicit XmlGate(const AnsiText& codePage);

  /// Allocates nothing unless the text holds more than a handful of namespace prefixes or, in a
  /// multi-byte code page, more than ASCII; when that memory is not to be had, it refuses. Takes
  /// time in proportion to the text (times a logarithm for the hostile). Never throws, and never
  /// reads outside `text`. In a multi-byte code page the position is a guess behind a broken
  /// character. `maxDepth` is at most `kMaxMessageDepth`.
  [[nodiscard]] GateVerdict Pass(std::string_view text,
                                 std::size_t maxDepth = kMaxXmlDepth) const noexcept;

 private:
  [[nodiscard]] GateVerdict PassWide(std::string_view text, std::size_t maxDepth) const;

  const AnsiText& m_codePage;
  bool m_singleByte;
  // Of each byte, when a character is one.
  std::array<char16_t, 256> m_wide{};
  std::array<std::uint8_t, 256> m_traits{};
};

}  // namespace tlk
