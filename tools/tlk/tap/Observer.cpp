#include "tools/tlk/tap/Observer.h"

#include "platform/Platform.h"
#include "tools/tlk/wire/MessageRules.h"

namespace tlk::tap {
namespace {

constexpr std::array kWays = {Way::kFromClient, Way::kFromServer};

std::string NameOf(int client) { return "client " + std::to_string(client); }

/// Messages of a client go to the right, those of the server to the left.
std::string NameOf(int client, Way way) {
  return NameOf(client) + (way == Way::kFromClient ? " >" : " <");
}

}  // namespace

Observer::Observer(const wire::ViewOptions& view, Printer& printer, Recorder* recorder)
    : m_view(view), m_printer(printer), m_recorder(recorder), m_gate(SystemPlatform().text) {}

Observer::Stream& Observer::StreamOf(int client, Way way) {
  return m_clients[client][static_cast<std::size_t>(way)];
}

void Observer::Say(const Moment& when, std::string_view text) {
  m_printer.Print(wire::ShowTime(when.local) + ' ' + std::string(text) + '\n');
}

void Observer::Connected(int client, const Moment& when) {
  Say(when, NameOf(client) + " connected");
  if (m_recorder != nullptr) m_recorder->Accept(client, when.tick);
}

void Observer::Bytes(int client, Way way, const Moment& when, std::string_view bytes) {
  auto& stream = StreamOf(client, way);
  if (stream.isLost) {
    if (m_recorder != nullptr) m_recorder->Bytes(client, way, bytes, when.tick);
    return;
  }
  // What belongs to no message yet goes before these bytes, should they turn out to be none either.
  std::string loose(stream.frames.Length() == 0 ? stream.frames.Rest() : "");
  loose += bytes;
  stream.received += bytes.size();
  stream.frames.Append(bytes);
  while (const auto frame = stream.frames.Next()) {
    Message(client, way, when, *frame);
  }
  if (!stream.frames.Error().empty()) LoseTrack(client, way, when, loose);
}

void Observer::Message(int client, Way way, const Moment& when, const std::string& frame) {
  const auto sender = way == Way::kFromClient ? wire::Sender::kClient : wire::Sender::kServer;
  const auto message = wire::ReadMessageText(frame, m_gate);
  m_printer.Print(wire::ShowMessage(frame, message, when.local, NameOf(client, way), m_view) +
                  wire::ShowFindings(wire::JudgeMessage(frame, message, sender)));
  if (m_recorder != nullptr) m_recorder->Message(client, way, frame, message, when.tick);
}

void Observer::LoseTrack(int client, Way way, const Moment& when, std::string_view loose) {
  auto& stream = StreamOf(client, way);
  stream.isLost = true;
  m_printer.Print(wire::ShowTime(when.local) + ' ' + NameOf(client, way) +
                  " messages cannot be told apart any more\n" +
                  wire::ShowFindings({{true, stream.frames.ErrorOffset(), stream.frames.Error()}}));
  loose.remove_prefix(loose.size() -
                      static_cast<std::size_t>(stream.received - stream.frames.Offset()));
  if (m_recorder != nullptr) m_recorder->Bytes(client, way, loose, when.tick);
}

void Observer::Ended(int client, Way way, const Moment& when) {
  auto& stream = StreamOf(client, way);
  stream.hasEnded = true;
  m_printer.Print(wire::ShowTime(when.local) + ' ' + NameOf(client, way) + " end\n" +
                  FaultAtEnd(stream));
  if (m_recorder == nullptr) return;
  for (const Way any : kWays) {
    RecordRest(client, any, when);
  }
  m_recorder->End(client, way, when.tick);
}

void Observer::Gone(int client, const Moment& when, Ending ending, std::string_view how) {
  std::string text =
      wire::ShowTime(when.local) + ' ' + NameOf(client) + ' ' + std::string(how) + '\n';
  for (const Way way : kWays) {
    const auto& stream = StreamOf(client, way);
    if (stream.hasEnded) continue;
    text += FaultAtEnd(stream);
    RecordRest(client, way, when);
  }
  m_printer.Print(std::move(text));
  if (m_recorder != nullptr) m_recorder->Gone(client, ending, when.tick);
  m_clients.erase(client);
}

std::string Observer::FaultAtEnd(const Stream& stream) {
  const auto fault = stream.isLost ? std::nullopt : wire::JudgeEnd(stream.frames);
  return fault ? wire::ShowFindings({*fault}) : "";
}

void Observer::RecordRest(int client, Way way, const Moment& when) {
  const auto rest = StreamOf(client, way).frames.Rest();
  if (m_recorder != nullptr && !rest.empty()) m_recorder->Bytes(client, way, rest, when.tick);
}

}  // namespace tlk::tap
