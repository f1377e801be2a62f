#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tlk::wire {

/// What stands in a document: text, or what begins with `<`.
enum class MarkupKind {
  kText,
  kOpening,
  kClosing,
  kEmpty,  ///< An element that its one tag opens and closes.
  kOther,  ///< A comment, a CDATA section or a processing instruction.
};

struct Markup {
  MarkupKind kind = MarkupKind::kText;
  std::string_view text;  ///< All of it, where it stands in the document.
};

/// Goes through a document from tag to tag, in one pass and without memory of its own. It is meant
/// for what the gate has let in; of any other text it makes something, and comes to an end.
class MarkupScanner {
 public:
  /// The text outlives the scanner and what it finds.
  explicit MarkupScanner(std::string_view document) : m_rest(document) {}

  /// The next tag, text or the like; false at the end.
  bool Next(Markup& markup);

 private:
  std::string_view m_rest;
};

/// The name of the element that a tag opens, its prefix included.
[[nodiscard]] std::string_view NameOf(std::string_view tag);

/// An attribute of a tag, where it stands in the document.
struct TagAttribute {
  std::string_view name;
  std::string_view value;  ///< As it is written, between its quotes.
};

/// The first attribute of a tag; empty when it has none.
[[nodiscard]] TagAttribute FirstAttribute(std::string_view tag);

/// The value of an attribute of a tag, where it stands in the document; none without it.
[[nodiscard]] std::optional<std::string_view> FindAttribute(std::string_view tag,
                                                            std::string_view name);

/// What an attribute's value stands for, its references resolved, in
/// UTF-16. What is no reference stays as it is written.
[[nodiscard]] std::u16string ResolveReferences(std::string_view value);

}  // namespace tlk::wire
