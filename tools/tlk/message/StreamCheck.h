#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tlk/wire/FrameExtractor.h"
#include "tools/tlk/wire/MessageRules.h"
#include "xml/Codec.h"

namespace tlk::message {

/// Goes through a captured stream and prints a line for each message, and one for each fault, with
/// the byte of the stream at which it lies:
///
///     message 1 offset=0 length=132 type="Welcome"
///     fault at byte 264: the stream ends, but the message at byte 132 lacks 17 bytes
///
/// The first fault is where the stream first goes wrong; those behind it may follow from it. A
/// message that is framed but otherwise faulty does not end the check, as it does not end a
/// connection; a faulty stamp does both. What hosts can live with is a remark and no fault. A
/// file of another kind, such as a capture of packets, is named and ends the check.
class StreamCheck {
 public:
  using Print = std::function<void(std::string_view line)>;

  /// What `codec` refers to outlives the check.
  StreamCheck(const Codec& codec, Print print);

  /// Goes on with the next bytes of the stream; false when messages can no longer be told apart.
  bool Append(std::string_view bytes);

  /// The stream has ended.
  void End();

  [[nodiscard]] bool FoundFault() const { return m_foundFault; }

 private:
  void CheckMessage(std::uint64_t offset, const std::string& frame);
  bool ReadType(const std::string& frame, std::string& type,
                std::vector<wire::Finding>& findings) const;
  void Tell(std::uint64_t offset, const wire::Finding& finding);

  const Codec m_codec;
  const Print m_print;
  FrameExtractor m_frames;
  std::string m_firstBytes;  ///< As many as tell what a file is.
  std::uint64_t m_messages = 0;
  bool m_foundFault = false;
};

}  // namespace tlk::message
