// A message built from its payload and serialised, with its length in it.

#include <cstdio>
#include <cstdlib>
#include <pugixml.hpp>
#include <string>

#include "bench/Comparison.h"
#include "bench/Messages.h"
#include "xml/TLK_XMLBuilder.h"

namespace tlk::bench {
namespace {

class StringWriter : public pugi::xml_writer {
 public:
  explicit StringWriter(std::string& text) : m_text(text) { m_text.clear(); }
  void write(const void* data, std::size_t size) override {
    m_text.append(static_cast<const char*>(data), size);
  }

 private:
  std::string& m_text;
};

void Print(const pugi::xml_document& document, std::string& text) {
  StringWriter writer(text);
  document.save(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
}

void Stamp(pugi::xml_attribute length, std::size_t bytes) {
  char stamp[32];
  std::snprintf(stamp, sizeof stamp, "%07zu", bytes);
  length.set_value(stamp);
}

/// The same message with pugixml alone: printed once for its length, and once more with it.
std::string PugiMessage(const std::string& payload) {
  constexpr unsigned kKeepAll = pugi::parse_default | pugi::parse_comments | pugi::parse_pi;
  pugi::xml_document document;
  pugi::xml_node root = document.append_child("TLK_Message");
  pugi::xml_attribute length = root.append_attribute("Length");
  length.set_value("0000000");
  root.append_attribute("xmlns").set_value("");
  root.append_attribute("Type").set_value("Chat");
  root.append_child("From").append_attribute("Id").set_value(7);
  root.append_child("To").append_attribute("Id").set_value(0);
  root.append_child("Data").append_buffer(payload.data(), payload.size(), kKeepAll,
                                          pugi::encoding_utf8);
  std::string text;
  Print(document, text);
  Stamp(length, text.size());
  Print(document, text);
  return text;
}

void ExpectSame(const std::string& ours, const std::string& theirs) {
  if (ours == theirs) return;
  std::fprintf(stderr, "The contestants build different messages:\n%.300s\n%.300s\n", ours.c_str(),
               theirs.c_str());
  std::exit(1);
}

/// Builds so many messages in a round that it lasts.
template <typename Build>
std::function<double()> Round(const std::string& payload, Build build) {
  constexpr std::size_t kBytes = 20'000'000;
  constexpr std::size_t kPerMessage = 400;
  const auto count = static_cast<int>(kBytes / (payload.size() + kPerMessage));
  return [&payload, count, build] {
    return NanosecondsEach(count, [&](int left) {
      for (; left > 0; --left) Keep(build(payload));
    });
  };
}

void CompareAt(const Codec& codec, std::size_t size, const std::string& name) {
  const std::string payload = Payload(size - kEnvelopeSize);
  const auto ours = [&codec](const std::string& text) { return Message(codec, text); };
  ExpectSame(ours(payload), PugiMessage(payload));
  Compare({.subject = "building",
           .what = "build and serialise " + name,
           .unit = "ns",
           .ours = Round(payload, ours),
           .limits = {},
           .peers = {{{"pugixml, printing twice", Round(payload, PugiMessage)}, 1.2}}});
}

}  // namespace
}  // namespace tlk::bench

int main() {
  using namespace tlk::bench;
  PinToProcessor(0);
  const MessageCodec messages;
  CompareAt(messages.codec, 200, "200 bytes");
  CompareAt(messages.codec, 2'000, "2 KB");
  CompareAt(messages.codec, 100'000, "100 KB");
}
