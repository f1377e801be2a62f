#include "tools/tlk/host/posix/NativeControlDriver.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <limits>

#include "control/NativeControl.h"
#include "log/MessageTexts.h"
#include "log/iLogger.h"
#include "platform/AnsiText.h"
#include "platform/Platform.h"
#include "platform/Surroundings.h"
#include "tools/tlk/StandardInput.h"

namespace tlk::host {
namespace {

std::u16string Widen(std::string_view narrow) {
  std::u16string wide;
  SystemPlatform().text.Widen(narrow, wide);
  return wide;
}

std::string Narrow(std::u16string_view wide) {
  std::string narrow;
  SystemPlatform().text.Narrow(wide, narrow);
  return narrow;
}

class DrivenNativeControl : public DrivenControl, private ITlkcEvents {
 public:
  DrivenNativeControl(MessageLoop& loop, DrivenEvents& events)
      : m_events(events), m_control(loop, *this) {}

  ConnectResult Connect(const std::string& server, std::int32_t port) override {
    std::int32_t value = 0;
    const ResultCode hr = m_control->Connect(Widen(server), port, &value);
    if (hr != kResultOk) return {hr, std::nullopt};
    return {hr, value};
  }

  std::int32_t Disconnect() override { return m_control->Disconnect(); }

  StatusResult ConnectionStatus() override {
    TLK_ConnStatusEnum status = TLK_Not_Connected;
    const ResultCode hr = m_control->ConnectionStatus(&status);
    return {hr, status};
  }

  std::int32_t Send(const std::string& type, const std::string& data) override {
    return m_control->SendTLKMsg(Widen(type), Widen(data));
  }

  RequestResult Request(const std::string& type, const std::string& data,
                        std::int32_t timeoutMs) override {
    std::u16string replyType;
    std::u16string replyData;
    bool wasAnswered = false;
    const ResultCode hr = m_control->SendReceiveTlkMsg(Widen(type), Widen(data), &replyType,
                                                       &replyData, timeoutMs, &wasAnswered);
    if (!wasAnswered) return {hr, std::nullopt, std::nullopt};
    return {hr, Narrow(replyType), Narrow(replyData)};
  }

 private:
  void ConnStatusChanged(TLK_ConnStatusEnum status) override { m_events.OnStatus(status); }

  void TlkMsgRecieved(std::u16string_view messageType, std::u16string_view message) override {
    m_events.OnMessage(Narrow(messageType), Narrow(message));
  }

  DrivenEvents& m_events;
  NativeControl m_control;
};

// A file or a closed descriptor can always be read, but a message loop cannot wait for one.
bool InputWaits() {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  return poll(&input, 1, 0) > 0;
}

// Without a standard input its descriptor would be handed to the next file or socket, and the
// console would read commands from that.
void FillStandardInput() {
  if (fcntl(STDIN_FILENO, F_GETFD) != -1) return;
  const int nothing = open("/dev/null", O_RDONLY);
  if (nothing > STDIN_FILENO) close(nothing);
}

}  // namespace

std::unique_ptr<DrivenControl> NativeControlDriver::NewControl(DrivenEvents& events) {
  return std::make_unique<DrivenNativeControl>(m_loop, events);
}

void NativeControlDriver::DeliverOnce(std::uint32_t milliseconds) {
  constexpr std::uint32_t kMost = std::numeric_limits<int>::max();
  m_loop.DispatchOnce(static_cast<int>(std::min(milliseconds, kMost)));
}

bool NativeControlDriver::DeliverOnceOrInput() {
  return InputWaits() || m_loop.DispatchOnceOrReadable(STDIN_FILENO, -1);
}

bool NativeControlDriver::ReadInput(std::string& bytes) { return ReadStandardInput(bytes); }

std::uint64_t NativeControlDriver::TickCount() { return SystemPlatform().surroundings.TickCount(); }

std::unique_ptr<ControlDriver> NewSystemDriver(const DriverOptions& options) {
  FillStandardInput();
  LeaveOutMessageTexts(options.leaveOutTexts);
  if (!options.showLogLines) TraceLog().SetConsoleEcho(false);
  return std::make_unique<NativeControlDriver>();
}

}  // namespace tlk::host
