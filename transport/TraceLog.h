#pragma once

namespace tlk {

/// A record of the control's trace log: the fixed source line that stands in it, and its text or
/// the beginning of it.
struct TraceRecord {
  int line;
  const char* text;
};

/// A failure that ends the connection: the error record that tells the reason, and the line of the
/// record "Status changed. Disconnected." that follows.
struct TraceFailure {
  TraceRecord reason;
  int droppedLine;
};

/// The failure that an error number stands for.
struct ErrorFailure {
  int error;
  TraceFailure failure;
};

/// Every record that the control writes. The lines are fixed: readers of a log tell the place of a
/// record by them. A text that ends in a blank or "= " is followed by a number or another text.
namespace trace {

inline constexpr const char* kSourceName = "Tlkc";

inline constexpr const char* kConnectedText = "Status changed. Connected.\n";
inline constexpr const char* kDisconnectedText = "Status changed. Disconnected.\n";

// Connect and Disconnect
inline constexpr TraceRecord kDisconnectRequested{68, "Disconnect requested."};
inline constexpr int kDisconnectedLine = 76;
inline constexpr TraceRecord kConnectPending{139, "Asynchronous connection attempt started.\n"};
inline constexpr TraceFailure kConnectFailed{{150, "Connect Failed. Err num = "}, 158};
inline constexpr TraceFailure kKeepAliveOptionFailed{{178, "Connect Failed. Err num = "}, 186};
inline constexpr TraceFailure kAsyncSelectFailed{{207, "Async Select failed. Err num = "}, 214};
inline constexpr int kConnectedLine = 226;

// Notifications
inline constexpr TraceFailure kNotifiedReset{{280, "Connection was reset.\n"}, 287};
inline constexpr TraceFailure kNotifiedRefused{{294, "Connection was refused.\n"}, 302};
inline constexpr TraceFailure kNotifiedAborted{{309, "Connection was aborted.\n"}, 316};
inline constexpr TraceFailure kNotifiedUnknown{{333, "Unknown Err. Closing connection. "}, 338};
inline constexpr TraceFailure kReadFailed{{352, "Error Reading Message.\n"}, 359};
inline constexpr TraceRecord kConnectSucceeded{375, "Connect succeeded.\n"};
inline constexpr int kConnectSucceededLine = 381;
inline constexpr TraceRecord kClosed{388, "Connection closed.\n"};
inline constexpr int kClosedLine = 395;
inline constexpr TraceRecord kUnknownEvent{402, "Unknown Event %d.\n"};

// Output
inline constexpr TraceFailure kSendReset{{560, "Connection was reset.\n"}, 567};
inline constexpr TraceFailure kSendRefused{{575, "Connection was refused.\n"}, 583};
inline constexpr TraceFailure kSendAborted{{591, "Connection was aborted.\n"}, 598};
inline constexpr TraceFailure kSendUnknown{
    {618, "Unknown Socket error. Closing connection. Err Num = "}, 623};
inline constexpr TraceRecord kMessageSent{642, "Message sent. "};

// The reader that does not block
inline constexpr TraceFailure kReceiveFailed{{675, "Recv Err. Closing connection. Err Num = "},
                                             680};
inline constexpr TraceRecord kInvalidLength{704, "Invalid Length. Closing connection. "};
inline constexpr TraceFailure kPrefixFailed{{728, "Recv failed. Closing connection. Err Num = "},
                                            733};
inline constexpr TraceRecord kWaitingForLength{746, "Waiting for length.\n"};
inline constexpr TraceRecord kInvalidPrefixLength{756, "Invalid Length. "};
inline constexpr TraceFailure kBodyFailed{{777, "Recv Err. Closing connection. Err Num = "}, 782};

// The reader that blocks
inline constexpr TraceFailure kBlockingPrefixFailed{
    {834, "Recv Err. Closing connection. Err Num = "}, 839};
inline constexpr TraceRecord kBlockingInvalidLength{857, "Invalid Length. Closing connection. "};
inline constexpr TraceFailure kBlockingBodyFailed{{879, "Recv Err. Closing connection. Err Num = "},
                                                  884};

// Dispatch
inline constexpr TraceRecord kMessageReceived{1000, "Message Recieved. "};
inline constexpr TraceRecord kMessageSkipped{1009, "Message Skipped. "};

// Sending
inline constexpr TraceRecord kMessageNotBuilt{1027, "Message could not be built. Not sent.\n"};
inline constexpr TraceRecord kMessageTooLong{1031, "Message too long. Not sent. Length = "};
inline constexpr TraceFailure kNotificationsOffFailed{
    {1060, "WSAAsyncSelect to set blocking failed. Err Num = "}, 1067};
inline constexpr TraceFailure kBlockingFailed{
    {1080, "Cannot change to a blocking socket. Closing connection. Err Num = "}, 1087};
inline constexpr TraceFailure kSendTimeoutFailed{
    {1099, "Cannot set blocking send timeout. Closing connection. Err Num = "}, 1106};
inline constexpr TraceFailure kReceiveTimeoutFailed{
    {1118, "Cannot set blocking recv timeout. Closing connection. Err Num = "}, 1125};
inline constexpr TraceFailure kBlockingSendFailed{
    {1140, "Blocking send failed. Closing connection. Err Num = "}, 1147};
inline constexpr TraceFailure kBlockingReadFailed{
    {1163, "Blocking ReadMessage() failed. Closing connection. Err Num = "}, 1170};
inline constexpr TraceFailure kNotificationsOnFailed{
    {1197, "WSAAsyncSelect to set non_blocking failed. Err Num = "}, 1204};

}  // namespace trace

}  // namespace tlk
