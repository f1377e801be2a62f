#include "tools/tlk/host/SessionControl.h"

#include <utility>

#include "tools/tlk/Words.h"

namespace tlk::host {
namespace {

constexpr std::size_t Index(EventKind event) { return static_cast<std::size_t>(event); }

}  // namespace

SessionControl::SessionControl(std::int32_t number, Listener listener)
    : m_number(number), m_listener(std::move(listener)) {}

bool SessionControl::Make(ControlDriver& driver) {
  m_driven = driver.NewControl(*this);
  return m_driven != nullptr;
}

std::uint64_t SessionControl::EventCount(EventKind event) const {
  return m_eventCounts[Index(event)];
}

void SessionControl::AddHandler(EventKind event, std::shared_ptr<const Command> handler) {
  m_handlers[Index(event)].push_back(std::move(handler));
}

std::shared_ptr<const Command> SessionControl::TakeHandler(EventKind event) {
  auto& handlers = m_handlers[Index(event)];
  if (handlers.empty()) return nullptr;
  std::shared_ptr<const Command> oldest = std::move(handlers.front());
  handlers.pop_front();
  return oldest;
}

void SessionControl::OnStatus(std::int32_t status) {
  Hear(EventKind::kStatus, "event ConnStatusChanged status=" + std::to_string(status));
}

void SessionControl::OnMessage(std::string_view type, std::string_view data) {
  Hear(EventKind::kMessage, "event TlkMsgRecieved type=" + Quote(type) + " data=" + Quote(data));
}

void SessionControl::Hear(EventKind event, std::string text) {
  if (m_destroyed) return;
  const Use use(this);
  ++m_eventCounts[Index(event)];
  if (m_number != 1) text += " control=" + std::to_string(m_number);
  m_listener(*this, event, text);
}

SessionControl::Use::Use(SessionControl* control) : m_control(control) {
  if (m_control != nullptr) ++m_control->m_uses;
}

SessionControl::Use::~Use() {
  if (m_control != nullptr) --m_control->m_uses;
}

}  // namespace tlk::host
