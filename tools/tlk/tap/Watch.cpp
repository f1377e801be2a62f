#include "tools/tlk/tap/Watch.h"

#include <asio/post.hpp>
#include <exception>
#include <utility>

namespace tlk::tap {

Watch::Watch(const wire::ViewOptions& view, OpenFile record)
    : m_observer(
          view, m_printer,
          record != nullptr ? &m_recorder.emplace(std::move(record), view.hideData) : nullptr),
      m_thread(1) {}

/// The time is that of the call, however late somebody comes to look.
void Watch::Post(Look look) {
  asio::post(m_thread, [this, when = Moment::Now(), look = std::move(look)] {
    try {
      look(m_observer, when);
    } catch (const std::exception& failure) {
      m_printer.Print(std::string("... not shown: ") + failure.what() + '\n');
    }
  });
}

void Watch::Connected(int client) {
  Post([=](Observer& observer, const Moment& when) { observer.Connected(client, when); });
}

void Watch::Bytes(int client, Way way, std::string bytes) {
  m_waiting += bytes.size();
  Post([=, this, bytes = std::move(bytes)](Observer& observer, const Moment& when) {
    m_waiting -= bytes.size();
    observer.Bytes(client, way, when, bytes);
  });
}

void Watch::Ended(int client, Way way) {
  Post([=](Observer& observer, const Moment& when) { observer.Ended(client, way, when); });
}

void Watch::Gone(int client, Ending ending, std::string how) {
  Post([=, how = std::move(how)](Observer& observer, const Moment& when) {
    observer.Gone(client, when, ending, how);
  });
}

void Watch::Say(std::string text) {
  Post([text = std::move(text)](Observer& observer, const Moment& when) {
    observer.Say(when, text);
  });
}

std::string Watch::Finish() {
  m_thread.join();
  m_printer.Finish();
  return m_recorder ? m_recorder->Failure() : "";
}

}  // namespace tlk::tap
