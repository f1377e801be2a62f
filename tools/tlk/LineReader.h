#pragma once

#include <functional>
#include <string>

namespace tlk {

/// Cuts bytes that arrive in pieces of any size into lines.
class LineReader {
 public:
  /// Appends the next bytes of the input to its argument, waiting for them; false when there are no
  /// more.
  using More = std::function<bool(std::string& bytes)>;

  explicit LineReader(More more);

  /// Gives the next line without its end, which is "\n" or "\r\n", or the end of the input; false
  /// when there is none. Asks for more bytes only when no whole line is at hand.
  bool Next(std::string& line);

 private:
  void Take(std::size_t end, std::string& line);

  const More m_more;
  std::string m_bytes;
  std::size_t m_start = 0;     ///< Where the next line begins.
  std::size_t m_searched = 0;  ///< No line end lies between the start and here.
};

}  // namespace tlk
