#include "bench/Messages.h"

#include "xml/TLK_XMLBuilder.h"

namespace tlk::bench {

std::string Payload(std::size_t size) {
  constexpr std::string_view kBegin = "<Chat Room=\"7\">";
  constexpr std::string_view kEnd = "</Chat>";
  std::string payload(kBegin);
  for (int number = 1; payload.size() + kEnd.size() < size; ++number) {
    payload.append("<Line No=\"").append(std::to_string(number));
    payload.append("\">The quick brown fox asks for a line</Line>");
  }
  return payload.append(kEnd);
}

std::string Message(const Codec& codec, std::string_view payload) {
  TLK_XMLBuilder builder(codec);
  builder.CreateMessage("Chat", 7, 0);
  builder.AppendData(payload);
  builder.SetLength();
  std::string text;
  builder.GetXml(text);
  return text;
}

}  // namespace tlk::bench
