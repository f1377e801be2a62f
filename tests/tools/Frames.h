#pragma once

#include <cstdio>
#include <string>

#include "transport/Framing.h"

namespace tlk {

/// A text with its own length in place of the seven digits of its stamp.
inline std::string Stamped(std::string text) {
  char digits[24];
  std::snprintf(digits, sizeof digits, "%07zu", text.size());
  return text.replace(text.find(kLengthMarker) + kLengthMarker.size(), kLengthDigits, digits);
}

/// A message as a client with that id sends it, written out by hand.
inline std::string Message(const std::string& type, const std::string& data, int from = -1,
                           int to = 0) {
  return Stamped("<TLK_Message Length=\"0000000\" xmlns=\"\" Type=\"" + type + "\"><From Id=\"" +
                 std::to_string(from) + "\"/><To Id=\"" + std::to_string(to) + "\"/>" + data +
                 "</TLK_Message>");
}

}  // namespace tlk
