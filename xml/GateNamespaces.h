#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory_resource>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "xml/XmlCharacters.h"

namespace tlk {

/// Number of a namespace within one document. Two namespaces are the same exactly if their numbers
/// are.
using NamespaceId = std::uint32_t;
inline constexpr NamespaceId kNoNamespace = 0;
inline constexpr NamespaceId kXmlNamespace = 1;
inline constexpr NamespaceId kXmlnsNamespace = 2;
inline constexpr NamespaceId kUnboundPrefix = 3;

/// A name as it stands in the text: `local` is `begin` when it has no prefix. Deliberately without
/// initialisers, for these stand in large arrays of which a document uses little.
template <typename Char>
struct GateName {
  const Char* begin;
  const Char* local;
  const Char* end;

  [[nodiscard]] bool HasPrefix() const { return local != begin; }
  [[nodiscard]] std::basic_string_view<Char> Prefix() const {
    return HasPrefix() ? std::basic_string_view<Char>(begin, local - 1)
                       : std::basic_string_view<Char>();
  }
  [[nodiscard]] std::basic_string_view<Char> Local() const { return {local, end}; }
};

template <typename Char>
struct GateAttribute {
  GateName<Char> name;
  NamespaceId space;
};

/// An attribute whose namespace and local name another one in front of it has too; null when there
/// is none. May change the order of `attributes`. Takes n log n comparisons at most.
template <typename Char>
[[nodiscard]] const GateAttribute<Char>* FindDuplicate(std::span<GateAttribute<Char>> attributes);

/// Orders namespace names by what they are once references and line ends are resolved.
template <typename Char>
class NamespaceNameLess {
 public:
  explicit NamespaceNameLess(const XmlAlphabet& alphabet) : m_alphabet(alphabet) {}
  [[nodiscard]] bool operator()(std::basic_string_view<Char> a,
                                std::basic_string_view<Char> b) const;

 private:
  XmlAlphabet m_alphabet;
};

/// The prefixes that are bound at one point of a document.
///
/// The usual handful lives in a buffer of its own; more of them allocate, and std::bad_alloc then
/// leaves `Declare`. Searching takes logarithmic time, however many there are. Refers to the text.
template <typename Char>
class GateNamespaces {
 public:
  using View = std::basic_string_view<Char>;

  explicit GateNamespaces(const XmlAlphabet& alphabet)
      : m_alphabet(alphabet), m_names(NamespaceNameLess<Char>(alphabet), &m_memory) {}

  /// Binds a prefix, or without one the default, to the namespace that an attribute value, which is
  /// known to be well-formed, names. Returns null or what is wrong.
  const char* Declare(View prefix, View value);

  [[nodiscard]] NamespaceId Find(View prefix) const;

  /// A point to go back to.
  [[nodiscard]] std::size_t Mark() const { return m_replaced.size(); }
  /// Forgets what was declared since the mark was taken.
  void Restore(std::size_t mark) {
    if (m_replaced.size() > mark) Forget(mark);
  }

 private:
  using Binding = NamespaceId;

  void Bind(View prefix, View value);
  void Forget(std::size_t mark);

  XmlAlphabet m_alphabet;
  std::array<std::byte, 3072> m_buffer;
  std::pmr::monotonic_buffer_resource m_memory{m_buffer.data(), m_buffer.size(),
                                               std::pmr::new_delete_resource()};
  std::pmr::map<View, NamespaceId, NamespaceNameLess<Char>> m_names;
  std::pmr::map<View, Binding> m_bindings{&m_memory};
  std::pmr::vector<std::pair<Binding*, NamespaceId>> m_replaced{&m_memory};
};

}  // namespace tlk
