#pragma once

#include <array>
#include <asio/buffer.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "tools/tlk/serve/Holding.h"
#include "tools/tlk/serve/Messages.h"

namespace tlk::serve {

/// What a message says, kept once for all who get it.
struct SharedWording {
  SharedWording(Wording said, std::size_t& total)
      : wording(std::move(said)), holding(total, wording.text.capacity()) {}

  const Wording wording;
  const Holding holding;
};

/// A message on its way to one client: a stamp and ids of its own, and what it shares with others.
class Outgoing {
 public:
  Outgoing(std::shared_ptr<const SharedWording> shared, std::int32_t from, std::int32_t to)
      : m_shared(std::move(shared)),
        m_ids(WriteIds(from, to)),
        m_opening(
            OpenMessage(OpenMessage(0).size() + m_shared->wording.text.size() + m_ids.size())) {}

  [[nodiscard]] std::size_t Size() const { return asio::buffer_size(Buffers()); }

  /// Its bytes, in order. They last as long as it stays where it is.
  [[nodiscard]] std::array<asio::const_buffer, 4> Buffers() const {
    const auto& [text, ids] = m_shared->wording;
    const auto whole = asio::buffer(text);
    return {asio::buffer(m_opening), asio::buffer(whole, ids), asio::buffer(m_ids), whole + ids};
  }

  /// The bytes as one text.
  [[nodiscard]] std::string Text() const {
    std::string all(Size(), '\0');
    asio::buffer_copy(asio::buffer(all), Buffers());
    return all;
  }

 private:
  std::shared_ptr<const SharedWording> m_shared;
  std::string m_ids;
  std::string m_opening;
};

}  // namespace tlk::serve
