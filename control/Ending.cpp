#include "control/FiringScope.h"
#include "control/Tlkc.h"
#include "transport/TraceLog.h"

namespace tlk {

void CTlkc::CloseSocket() {
  m_ports.sockets.Close(m_socket);
  m_socket = kInvalidSocket;
  m_status = TLK_Not_Connected;
}

// A request leaves the keep-alive timer alone, also when it ends the connection: the next tick then
// announces the end once more.
void CTlkc::DropConnection(int line) {
  CloseSocket();
  AnnounceStatus(line);
}

void CTlkc::RecordThenDrop(const TraceFailure& failure) {
  LogError(failure.reason, m_ports.sockets.LastError());
  DropConnection(failure.droppedLine);
}

void CTlkc::CloseThenRecord(const TraceFailure& failure, int error) {
  CloseSocket();
  LogError(failure.reason, error);
  AnnounceStatus(failure.droppedLine);
}

void CTlkc::DropOnError(int error, std::span<const ErrorFailure> known,
                        const TraceFailure& unknown) {
  for (const auto& entry : known) {
    if (entry.error == error) {
      LogError(entry.failure.reason);
      DropConnection(entry.failure.droppedLine);
      return;
    }
  }
  CloseThenRecord(unknown, error);
}

void CTlkc::OnOutOfMemory() {
  try {
    ForgetMessage();
    CloseThenRecord(trace::kNotifiedUnknown, socket_error::kNoBufferSpace);
  } catch (...) {
    // A host whose handler throws. The connection has ended by then.
  }
}

void CTlkc::AnnounceStatus(int line) {
  if (m_firingStatus) return;
  const FiringScope firing(m_firingStatus);
  const bool connected = m_status == TLK_Connected;
  LogNormal(TraceRecord{line, connected ? trace::kConnectedText : trace::kDisconnectedText});
  m_events.ConnStatusChanged(m_status);
}

}  // namespace tlk
