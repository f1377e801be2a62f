#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "log/QNLogger.h"
#include "platform/Platform.h"
#include "xml/Codec.h"
#include "xml/Gate.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk::bench {

/// What messages are built and read with here.
struct MessageCodec {
  PugiDomFactory dom{SystemPlatform().text};
  XmlGate gate{SystemPlatform().text};
  QNLogger log{"bench.log", 0};
  Codec codec{dom, SystemPlatform().text, gate, log};
};

/// The bytes of a message around its payload.
inline constexpr std::size_t kEnvelopeSize = 103;

/// A payload of about so many bytes, made of small elements.
[[nodiscard]] std::string Payload(std::size_t size);

/// A message around that payload, built and serialised.
[[nodiscard]] std::string Message(const Codec& codec, std::string_view payload);

}  // namespace tlk::bench
