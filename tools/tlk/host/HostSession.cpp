#include "tools/tlk/host/HostSession.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <utility>

#include "tools/tlk/Words.h"
#include "tools/tlk/host/CommandReader.h"

namespace tlk::host {
namespace {

constexpr std::string_view kNoneMade = "no control could be made";

std::string Hr(std::int32_t hr) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), " hr=0x%08X", static_cast<unsigned>(hr));
  return text.data();
}

std::string QuoteIfWritten(const std::optional<std::string>& text) {
  return text ? Quote(*text) : "-";
}

}  // namespace

/// How a command is run, and whether it needs a control to act on.
struct HostSession::Action {
  CommandKind kind;
  void (HostSession::*run)(const Command& command, SessionControl* target);
  bool needsControl;
};

HostSession::HostSession(ControlDriver& driver, bool failsFast, Print print)
    : CommandSession(std::move(print), AllForms()), m_driver(driver), m_failsFast(failsFast) {
  m_inUse = MakeControl();
  if (m_inUse == nullptr) Fail(kNoneMade);
}

HostSession::~HostSession() = default;

void HostSession::RunLine(std::string_view line) {
  const ReadResult read = ReadCommand(line, LineNumber());
  if (!read.error.empty()) Fail(read.error);
  if (read.command) Run(*read.command, m_inUse);
  FreeDestroyed();
}

bool HostSession::WaitForInput() {
  while (!Ended()) {
    const bool canRead = m_driver.DeliverOnceOrInput();
    FreeDestroyed();
    if (canRead) break;
  }
  return !Ended();
}

void HostSession::Run(const Command& command, SessionControl* target) {
  static constexpr std::array kActions{
      Action{CommandKind::kConnect, &HostSession::Connect, true},
      Action{CommandKind::kDisconnect, &HostSession::Disconnect, true},
      Action{CommandKind::kStatus, &HostSession::Status, true},
      Action{CommandKind::kSend, &HostSession::Send, true},
      Action{CommandKind::kRequest, &HostSession::Request, true},
      Action{CommandKind::kPump, &HostSession::Pump, false},
      Action{CommandKind::kWait, &HostSession::Wait, true},
      Action{CommandKind::kOn, &HostSession::On, true},
      Action{CommandKind::kNew, &HostSession::New, false},
      Action{CommandKind::kUse, &HostSession::Use, false},
      Action{CommandKind::kDestroy, &HostSession::Destroy, true},
      Action{CommandKind::kHelp, &HostSession::ShowHelp, false},
      Action{CommandKind::kQuit, &HostSession::Quit, false},
  };
  const auto* const action =
      std::find_if(kActions.begin(), kActions.end(),
                   [&command](const Action& known) { return known.kind == command.kind; });
  if (action->needsControl && target == nullptr) {
    Fail("no control is in use");
    return;
  }
  const SessionControl::Use use(action->needsControl ? target : nullptr);
  (this->*action->run)(command, target);
}

void HostSession::Connect(const Command& command, SessionControl* target) {
  const ConnectResult result =
      (*target)->Connect(command.arguments[0].text, command.arguments[1].Signed());
  const std::string value = result.value ? std::to_string(*result.value) : "-";
  PrintLine("connect" + Hr(result.hr) + " pVal=" + value);
  if (result.hr < 0 || result.value.value_or(0) == 0) Miss(command, "connect failed");
}

void HostSession::Disconnect(const Command& /*command*/, SessionControl* target) {
  PrintLine("disconnect" + Hr((*target)->Disconnect()));
}

void HostSession::Status(const Command& /*command*/, SessionControl* target) {
  const StatusResult result = (*target)->ConnectionStatus();
  PrintLine("status" + Hr(result.hr) + " value=" + std::to_string(result.value));
}

void HostSession::Send(const Command& command, SessionControl* target) {
  const auto& words = command.arguments;
  const std::string data = words.size() > 1 ? words[1].text : std::string();
  PrintLine("send" + Hr((*target)->Send(words[0].text, data)));
}

void HostSession::Request(const Command& command, SessionControl* target) {
  const auto& words = command.arguments;
  const RequestResult result = (*target)->Request(words[0].text, words[1].text, words[2].Signed());
  PrintLine("request" + Hr(result.hr) + " type=" + QuoteIfWritten(result.type) +
            " data=" + QuoteIfWritten(result.data));
  if (result.hr < 0 || !result.type) Miss(command, "request without a reply");
}

void HostSession::Pump(const Command& command, SessionControl* /*target*/) {
  Deliver(command.arguments[0].Signed(), [] { return false; });
  PrintLine("pump");
}

void HostSession::Wait(const Command& command, SessionControl* target) {
  const std::uint64_t before = target->EventCount(command.Event());
  const auto seen = [&] { return target->EventCount(command.Event()) != before; };
  Deliver(command.arguments[1].Signed(), seen);
  PrintLine(seen() ? "wait ok" : "wait timeout");
  if (!seen()) Miss(command, "wait ran out");
}

void HostSession::On(const Command& command, SessionControl* target) {
  target->AddHandler(command.Event(), command.handler);
}

void HostSession::New(const Command& /*command*/, SessionControl* /*target*/) {
  SessionControl* const made = MakeControl();
  if (made == nullptr) {
    Fail(kNoneMade);
    return;
  }
  m_inUse = made;
  PrintLine("new " + std::to_string(made->Number()));
}

void HostSession::Use(const Command& command, SessionControl* /*target*/) {
  const std::int32_t number = command.arguments[0].Signed();
  SessionControl* const found = FindControl(number);
  if (found == nullptr) {
    Fail("there is no control " + std::to_string(number));
    return;
  }
  m_inUse = found;
  PrintLine("use " + std::to_string(number));
}

void HostSession::Destroy(const Command& /*command*/, SessionControl* target) {
  target->Destroy();
  if (m_inUse == target) m_inUse = nullptr;
  PrintLine("destroy " + std::to_string(target->Number()));
}

void HostSession::ShowHelp(const Command& command, SessionControl* /*target*/) {
  Help(command.arguments);
}

void HostSession::Quit(const Command& /*command*/, SessionControl* /*target*/) { End(); }

void HostSession::Miss(const Command& command, std::string_view what) {
  if (!m_failsFast || Ended()) return;
  EndWith(kStatusFailed);
  std::cerr << "tlk host: line " << command.line << ": " << what << '\n';
}

void HostSession::OnEvent(SessionControl& control, EventKind event, const std::string& text) {
  PrintLine(text);
  if (Ended()) return;
  const std::shared_ptr<const Command> handler = control.TakeHandler(event);
  if (handler != nullptr) Run(*handler, &control);
}

SessionControl* HostSession::MakeControl() {
  auto made = std::make_unique<SessionControl>(
      m_lastNumber + 1, [this](SessionControl& control, EventKind event, const std::string& text) {
        OnEvent(control, event, text);
      });
  if (!made->Make(m_driver)) return nullptr;
  ++m_lastNumber;
  m_controls.push_back(std::move(made));
  return m_controls.back().get();
}

SessionControl* HostSession::FindControl(std::int32_t number) const {
  const auto found =
      std::find_if(m_controls.begin(), m_controls.end(), [number](const auto& control) {
        return control->Number() == number && !control->IsDestroyed();
      });
  return found == m_controls.end() ? nullptr : found->get();
}

void HostSession::FreeDestroyed() {
  std::erase_if(m_controls, [](const auto& control) { return control->CanBeFreed(); });
}

void HostSession::Deliver(std::int32_t milliseconds, const std::function<bool()>& done) {
  const std::uint64_t end = m_driver.TickCount() + static_cast<std::uint64_t>(milliseconds);
  std::uint64_t now = 0;
  do {
    now = std::min(m_driver.TickCount(), end);
    m_driver.DeliverOnce(static_cast<std::uint32_t>(end - now));
    FreeDestroyed();
  } while (now < end && !Ended() && !done());
}

}  // namespace tlk::host
