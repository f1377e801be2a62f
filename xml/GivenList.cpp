#include "xml/GivenList.h"

namespace tlk {

const Failure* GivenList::Open(const Codec& codec, std::string_view text, std::string_view path,
                               const GivenListFailures& failures) {
  m_parser.emplace(codec, text);
  DomNode list = nullptr;
  if (m_parser->SelectSingleNode(path, list) != kDomOk) return &failures.noList;
  const bool hasEntry = m_parser->Document()->FirstChild(list, m_next) == kDomOk;
  return hasEntry ? nullptr : &failures.noEntries;
}

bool GivenList::Step() {
  if (!m_parser) return true;
  m_entry = m_next;
  if (m_entry == nullptr) return false;
  if (m_parser->Document()->NextSibling(m_entry, m_next) != kDomOk) m_next = nullptr;
  return true;
}

void GivenList::ReadName(std::string& name) const {
  if (m_parser->Document()->BaseName(m_entry, name) != kDomOk) name.clear();
}

void GivenList::ReadText(std::string& text) const {
  const bool hasText = m_parser->Document()->Text(m_entry, text) == kDomOk;
  if (!hasText || text.find_first_not_of(" \t\r\n") == std::string::npos) text.clear();
}

}  // namespace tlk
