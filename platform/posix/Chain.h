#pragma once

#include <utility>

namespace tlk {

/// Links that know their neighbours, in the order in which they were added. It owns none of them,
/// and asks for no memory.
template <typename Link>
struct Chain {
  Link* first = nullptr;
  Link* last = nullptr;

  void Add(Link& link) {
    link.previous = std::exchange(last, &link);
    link.next = nullptr;
    (link.previous != nullptr ? link.previous->next : first) = &link;
  }

  void Remove(Link& link) {
    (link.previous != nullptr ? link.previous->next : first) = link.next;
    (link.next != nullptr ? link.next->previous : last) = link.previous;
  }
};

}  // namespace tlk
