#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tlk::serve {

/// A message to be sent.
struct AnswerMessage {
  std::string type;
  std::string data;  ///< What stands in `Data`; nothing when empty.
};

/// What a server answers by the type of a message, as a small text file says it:
///
///     # what is asked, and what is answered
///     on Question message Answer "<Time>12:00</Time>"
///     on News nothing
///     on * message Error <Unknown/>
///
/// `*` stands for every type that no line names. Several lines of one type are several messages.
class Answers {
 public:
  using Messages = std::vector<AnswerMessage>;

  /// Reads such a text; throws `ScriptError` of one that is not.
  [[nodiscard]] static Answers Read(std::string_view text);

  /// What is answered to a type, in order; null when the text says nothing of it.
  [[nodiscard]] const Messages* Find(const std::string& type) const;

 private:
  std::map<std::string, Messages> m_byType;
};

}  // namespace tlk::serve
