#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tlk {

/// Serialised XML, as a DOM has written it: it is well-formed, and what stands in it can be found
/// without reading it all.

/// The names of attributes that declare namespaces: the default, or before a prefix.
inline constexpr std::u16string_view kDefaultDeclaration = u"xmlns";
inline constexpr std::u16string_view kPrefixDeclaration = u"xmlns:";

[[nodiscard]] constexpr bool IsDeclaration(std::u16string_view name) {
  return name == kDefaultDeclaration || name.starts_with(kPrefixDeclaration);
}

/// An attribute as it is written: its name, and where its value begins and ends.
struct WrittenAttribute {
  std::u16string_view name;
  std::size_t value;
  std::size_t end;
};

/// Where the name of the tag ends that the "<" at `at` opens.
[[nodiscard]] std::size_t BehindTagName(std::u16string_view xml, std::size_t at);

/// Reads the attribute at or behind `at`, which stands in a tag, and steps behind it. False at the
/// end of the tag, to which it steps.
[[nodiscard]] bool ReadWrittenAttribute(std::u16string_view xml, std::size_t& at,
                                        WrittenAttribute& attribute);

/// Sees to it that attributes hold character references where they must, and nowhere else: line
/// breaks and tabs, which a reader takes for blanks otherwise, become references, and a reference
/// to a character beyond ASCII becomes that character. The namespace of a declaration is escaped. A
/// default that is declared twice in a tag stays as it was declared last, in that place. `xml` is a
/// document or a node; for an attribute alone, `isAttribute` says so.
void SettleAttributes(std::u16string& xml, bool isAttribute);

/// The same for a value that is to be written, of which markup is escaped as well.
[[nodiscard]] std::u16string EscapedValue(std::u16string_view value);

}  // namespace tlk
