#pragma once

#include <string>
#include <string_view>

namespace tlk {

class AnsiText;

/// Carries text between the code page, outside, and the UTF-8 of the trees, inside. Plain ASCII is
/// the same in both and only copied. Keeps its scratch space, so it belongs to one thread at a
/// time.
class PugiText {
 public:
  explicit PugiText(const AnsiText& codePage) : m_codePage(codePage) {}

  /// What `narrow` is in a tree. It stays where it is, or is put into `scratch` if it has to be
  /// changed.
  [[nodiscard]] std::string_view InTree(std::string_view narrow, std::string& scratch);

  /// Replaces `utf8` by the text of a document.
  void SourceToTree(std::string_view narrow, std::string& utf8);

  /// Replaces `utf8` by a single value, which ends before its first zero byte. A control character
  /// that no document can hold becomes "?".
  void ToTreeValue(std::string_view narrow, std::string& utf8);

  /// The same where the value may stay where it is.
  [[nodiscard]] std::string_view ValueInTree(std::string_view narrow, std::string& scratch);

  /// Replaces `narrow` by `utf8`, all or nothing. A character that the code page lacks becomes "?".
  void FromTree(std::string_view utf8, std::string& narrow);

  /// The same, where `utf8` is no longer needed and may be taken over.
  void TakeFromTree(std::string& utf8, std::string& narrow);

  /// The same for the name of an element or attribute, without a prefix; false for what cannot be
  /// one.
  [[nodiscard]] bool NameInTree(std::string_view narrow, std::string& utf8);

  /// Lets go of scratch space beyond `bytes`.
  void Trim(std::size_t bytes);

 private:
  const AnsiText& m_codePage;
  std::u16string m_wide;
  std::string m_narrow;
};

/// Whether a text is a name of the plainest kind, of ASCII, which is the same in a tree.
[[nodiscard]] bool IsPlainName(std::string_view text);

}  // namespace tlk
