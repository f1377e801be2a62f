#include "tools/tlk/tap/Recorder.h"

#include <algorithm>
#include <utility>

#include "platform/AnsiText.h"
#include "tools/tlk/InputFile.h"
#include "tools/tlk/Words.h"
#include "tools/tlk/wire/FrameExtractor.h"
#include "tools/tlk/wire/Markup.h"

namespace tlk::tap {
namespace {

using wire::FindAttribute;
using wire::MessageText;

/// The limit is longer than a client is ever silent.
constexpr std::string_view kHead =
    "# Recorded by tlk tap. 'tlk serve --script FILE' plays the server's part.\n"
    "limit 300\n"
    "server:\n";

/// A shorter silence of the server is not worth telling.
constexpr std::uint64_t kShortestPause = 100;
constexpr std::uint64_t kLongestPause = 60000;

/// A word of a conversation. What looks like a fill in it is none.
std::string Word(std::string_view text) {
  constexpr std::string_view kFill = "$FILL:";
  std::string word = Quote(text);
  for (auto at = word.find(kFill); at != std::string::npos; at = word.find(kFill, at)) {
    word.replace(at, 1, "\\x24");
  }
  return word;
}

bool HasId(const wire::MessageChild& child) { return FindAttribute(child.tag, "Id").has_value(); }

/// Whether a server that plays a script would know the type of the message.
bool IsTrue(std::string_view frame, const MessageText& message) {
  return message.verdict.Passed() && frame.starts_with(kMessageOpening) && message.Type() &&
         HasId(message.children[MessageText::kFrom]) && HasId(message.children[MessageText::kTo]);
}

std::string TypeOf(const MessageText& message) {
  std::string type;
  SystemPlatform().text.Narrow(wire::ResolveReferences(message.Type().value_or("")), type);
  return type;
}

/// The message without anything that could be a body.
std::string EnvelopeOf(const MessageText& message) {
  std::string text(message.root);
  if (text.ends_with("/>")) return text;
  for (const auto child : {MessageText::kFrom, MessageText::kTo}) {
    const auto id = FindAttribute(message.children[child].tag, "Id");
    if (!id || id->find('"') != std::string_view::npos) continue;
    ((((text += '<') += MessageText::kChildNames[child]) += " Id=\"") += *id) += "\"/>";
  }
  if (!message.children[MessageText::kData].tag.empty()) text += "<Data/>";
  return text += "</TLK_Message>";
}

}  // namespace

Recorder::Recorder(OpenFile file, bool hidesData)
    : m_file(std::move(file)), m_hidesData(hidesData) {
  Write(kHead);
}

void Recorder::Accept(int client, std::uint64_t tick) {
  m_client = client;
  m_stages[client] = Stage::kOpen;
  Put(client, "accept", tick);
}

void Recorder::Message(int client, Way way, std::string_view frame, const MessageText& message,
                       std::uint64_t tick) {
  if (!IsOpen(client)) return;
  if (m_hidesData && !message.verdict.Passed()) {
    PutComment(client, way, frame.size(), tick);
  } else if (way == Way::kFromClient) {
    ClientMessage(client, frame, message, tick);
  } else {
    ServerMessage(client, frame, message, tick);
  }
}

void Recorder::ClientMessage(int client, std::string_view frame, const MessageText& message,
                             std::uint64_t tick) {
  if (IsTrue(frame, message)) {
    Put(client, "expect-type " + Word(TypeOf(message)), tick);
  } else {
    Bytes(client, Way::kFromClient, frame, tick);
  }
}

/// The script measures the message, so that it may be edited there.
void Recorder::ServerMessage(int client, std::string_view frame, const MessageText& message,
                             std::uint64_t tick) {
  Pause(tick);
  std::string text = m_hidesData ? EnvelopeOf(message) : std::string(frame);
  const auto stamp = text.find(kLengthMarker) + kLengthMarker.size();
  text.replace(stamp, kLengthDigits, kLengthDigits, '0');
  Put(client, "stamped " + Word(text), tick);
}

void Recorder::Bytes(int client, Way way, std::string_view bytes, std::uint64_t tick) {
  if (!IsOpen(client)) return;
  if (m_hidesData) return PutComment(client, way, bytes.size(), tick);
  if (way == Way::kFromServer) Pause(tick);
  Put(client, (way == Way::kFromServer ? "send " : "expect ") + Word(bytes), tick);
}

void Recorder::End(int client, Way way, std::uint64_t tick) {
  auto& stage = m_stages[client];
  if (way == Way::kFromServer) {
    if (stage == Stage::kOpen) Pause(tick);
    Put(client, "close", tick);
    stage = Stage::kOver;
  } else if (stage == Stage::kOpen) {
    Put(client, "expect-close", tick);
    stage = Stage::kClientEnded;
  }
}

void Recorder::Gone(int client, Ending ending, std::uint64_t tick) {
  const Stage stage = m_stages[client];
  m_stages.erase(client);
  if (ending == Ending::kClientReset && stage == Stage::kOpen) Put(client, "expect-close", tick);
  if (ending == Ending::kServerReset && stage != Stage::kOver) Put(client, "reset", tick);
}

bool Recorder::IsOpen(int client) const {
  const auto stage = m_stages.find(client);
  return stage != m_stages.end() && stage->second == Stage::kOpen;
}

/// The server took its time, or spoke of its own accord.
void Recorder::Pause(std::uint64_t tick) {
  const auto passed = tick - std::min(m_tick, tick);
  if (passed < kShortestPause) return;
  Write("  wait " + std::to_string(std::min(passed, kLongestPause)) + '\n');
}

void Recorder::Put(int client, std::string_view line, std::uint64_t tick) {
  std::string text;
  if (std::exchange(m_client, client) != client) text = "  client " + std::to_string(client) + '\n';
  m_tick = tick;
  Write(((text += "  ") += line) += '\n');
}

void Recorder::PutComment(int client, Way way, std::size_t size, std::uint64_t tick) {
  const char* const from = way == Way::kFromServer ? "the server" : "the client";
  Put(client, "# " + std::to_string(size) + " bytes of " + from + " are left out", tick);
}

void Recorder::Write(std::string_view text) {
  if (!m_failure.empty()) return;
  std::FILE* const file = m_file.get();
  if (std::fwrite(text.data(), 1, text.size(), file) != text.size() || std::fflush(file) != 0) {
    m_failure = SystemFailure();
    std::fprintf(stderr, "tlk tap: the record ends here: %s\n", m_failure.c_str());
  }
}

}  // namespace tlk::tap
