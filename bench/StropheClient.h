#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/posix/OwnedDescriptor.h"

struct _xmpp_conn_t;
struct _xmpp_ctx_t;
struct _xmpp_stanza_t;

namespace tlk::bench {

/// libstrophe at the end of a connection without encryption or login, and the server's end of it: a
/// stream is open, and each stanza that comes has its type read and its child "Data" serialised.
class StropheClient {
 public:
  StropheClient();
  ~StropheClient();

  StropheClient(const StropheClient&) = delete;
  StropheClient& operator=(const StropheClient&) = delete;

  [[nodiscard]] int Server() const { return m_server.Get(); }
  [[nodiscard]] int Stanzas() const { return m_stanzas; }

  /// Lets the library wait and handle what comes.
  void RunOnce();

  /// A stanza of so many bytes.
  [[nodiscard]] static std::string StanzaOfSize(std::size_t size);

 private:
  static int OnStanza(_xmpp_conn_t* connection, _xmpp_stanza_t* stanza, void* self);

  _xmpp_ctx_t* m_context;
  _xmpp_conn_t* m_connection;
  OwnedDescriptor m_server;
  int m_stanzas = 0;
};

}  // namespace tlk::bench
