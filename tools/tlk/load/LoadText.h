#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tlk::load {

/// Whose message it was, and when it was due, in microseconds since the beginning.
struct Mark {
  std::uint32_t client = 0;
  std::uint64_t due = 0;
};

/// Writes what the clients of one run send, as a control would, without a DOM for each message; and
/// finds in what comes back what a client looks at.
///
/// A message is a head, which tells who sends it and when it was due, and a tail that all share.
class LoadText {
 public:
  /// `run` tells the messages of this run from those of others. Each message has `size` bytes.
  LoadText(std::uint32_t run, std::size_t size);

  /// The smallest size of a message, whoever sends it.
  static constexpr std::size_t kLeastSize = 200;

  /// Puts the head of a message into `head`.
  void WriteHead(std::int32_t id, const Mark& mark, std::string& head) const;

  /// What follows the head, so that the whole has its size.
  [[nodiscard]] std::string_view Tail(std::size_t headSize) const;

  /// The mark in a message of this run; none in any other.
  [[nodiscard]] std::optional<Mark> FindMark(std::string_view head) const;

 private:
  const std::size_t m_size;
  std::string m_run;   ///< What a mark of this run begins with.
  std::string m_fill;  ///< The longest tail.
};

/// The keep-alive of a client.
[[nodiscard]] std::string KeepAliveText(std::int32_t id);

/// Whether a message answers a keep-alive.
[[nodiscard]] bool IsKeepAliveAnswer(std::string_view head);

/// What the first message of a server teaches a client: the number in its `To`/`Id`, 0 when that is
/// no number; none when there is no `Id`.
[[nodiscard]] std::optional<std::int32_t> ReadReceiver(std::string_view head);

}  // namespace tlk::load
