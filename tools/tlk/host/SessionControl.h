#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "tools/tlk/host/Command.h"
#include "tools/tlk/host/ControlDriver.h"

namespace tlk::host {

/// A control and what a session keeps about it: its number, its waiting handlers, how many events
/// it has raised, and whether it may be freed yet.
class SessionControl final : private DrivenEvents {
 public:
  /// Hears of each event; `text` is its line of output.
  using Listener =
      std::function<void(SessionControl& control, EventKind event, const std::string& text)>;

  SessionControl(std::int32_t number, Listener listener);

  /// Makes the control itself; false when the driver refuses.
  [[nodiscard]] bool Make(ControlDriver& driver);

  DrivenControl* operator->() { return m_driven.get(); }

  [[nodiscard]] std::int32_t Number() const { return m_number; }
  [[nodiscard]] std::uint64_t EventCount(EventKind event) const;

  void AddHandler(EventKind event, std::shared_ptr<const Command> handler);

  /// The oldest handler of that event, which is then no longer there; null when there is none.
  [[nodiscard]] std::shared_ptr<const Command> TakeHandler(EventKind event);

  /// Ends the control at once, also inside one of its own calls and events: nobody hears of it any
  /// more.
  void Destroy() {
    m_destroyed = true;
    m_driven.reset();
  }
  [[nodiscard]] bool IsDestroyed() const { return m_destroyed; }

  /// Whether it is destroyed and no call or event of it is on the stack any more.
  [[nodiscard]] bool CanBeFreed() const { return m_destroyed && m_uses == 0; }

  /// Held while a command works on the control, if there is one, or an event of it is heard.
  class Use {
   public:
    explicit Use(SessionControl* control);
    ~Use();
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

   private:
    SessionControl* const m_control;
  };

 private:
  void OnStatus(std::int32_t status) override;
  void OnMessage(std::string_view type, std::string_view data) override;
  void Hear(EventKind event, std::string text);

  const std::int32_t m_number;
  const Listener m_listener;
  bool m_destroyed = false;
  int m_uses = 0;
  std::array<std::deque<std::shared_ptr<const Command>>, kEventKinds> m_handlers;
  std::array<std::uint64_t, kEventKinds> m_eventCounts{};
  std::unique_ptr<DrivenControl> m_driven;
};

}  // namespace tlk::host
