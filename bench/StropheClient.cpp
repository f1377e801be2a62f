#include "bench/StropheClient.h"

#include <strophe.h>

#include "bench/Comparison.h"
#include "bench/Loopback.h"
#include "bench/StreamMessages.h"

namespace tlk::bench {
namespace {

constexpr const char* kStreamHead =
    "<?xml version='1.0'?><stream:stream xmlns='jabber:client' "
    "xmlns:stream='http://etherx.jabber.org/streams' id='1' from='127.0.0.1' version='1.0'>";
constexpr unsigned long kWaitMilliseconds = 1000;

void OnEvent(xmpp_conn_t* connection, xmpp_conn_event_t event, int /*error*/,
             xmpp_stream_error_t* /*streamError*/, void* /*self*/) {
  if (event == XMPP_CONN_RAW_CONNECT) xmpp_conn_open_stream_default(connection);
}

}  // namespace

StropheClient::StropheClient() {
  xmpp_initialize();
  m_context = xmpp_ctx_new(nullptr, nullptr);
  m_connection = xmpp_conn_new(m_context);
  xmpp_conn_set_flags(m_connection, XMPP_CONN_FLAG_DISABLE_TLS);
  xmpp_conn_set_jid(m_connection, "client@127.0.0.1");
  const Listener listener;
  Check(xmpp_connect_raw(m_connection, "127.0.0.1", listener.Port(), OnEvent, nullptr) == 0,
        "xmpp_connect_raw");
  m_server = listener.Accept();
  xmpp_handler_add(m_connection, OnStanza, nullptr, "message", nullptr, this);
  Check(SendAll(m_server.Get(), kStreamHead + StanzaOfSize(200)), "send");
  for (int i = 0; i < 10 && m_stanzas == 0; ++i) RunOnce();
  Check(m_stanzas == 1, "the stream does not open");
}

StropheClient::~StropheClient() {
  xmpp_conn_release(m_connection);
  xmpp_ctx_free(m_context);
  xmpp_shutdown();
}

void StropheClient::RunOnce() { xmpp_run_once(m_context, kWaitMilliseconds); }

std::string StropheClient::StanzaOfSize(std::size_t size) {
  const std::string head = R"(<message type="Measurement"><From Id="0"/><To Id="17"/><Data>)";
  const std::string tail = "</Data></message>";
  return head + PayloadOfSize(size - head.size() - tail.size()) + tail;
}

int StropheClient::OnStanza(xmpp_conn_t* connection, xmpp_stanza_t* stanza, void* self) {
  Keep(xmpp_stanza_get_type(stanza));
  char* text = nullptr;
  std::size_t length = 0;
  xmpp_stanza_t* const data = xmpp_stanza_get_child_by_name(stanza, "Data");
  Check(data != nullptr && xmpp_stanza_to_text(data, &text, &length) == 0, "stanza");
  Keep(text);
  xmpp_free(xmpp_conn_get_context(connection), text);
  ++static_cast<StropheClient*>(self)->m_stanzas;
  return 1;
}

}  // namespace tlk::bench
