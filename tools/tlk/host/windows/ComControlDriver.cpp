#include "tools/tlk/host/windows/ComControlDriver.h"

#include <ole2.h>

#include <iostream>

#include "tools/tlk/CommandSession.h"
#include "tools/tlk/host/windows/ComFailure.h"
#include "tools/tlk/host/windows/DrivenComControl.h"
#include "tools/tlk/windows/StandardOutput.h"

namespace tlk::host {
namespace {

/// Delivers one message: the session looks after each whether what it waits for has come.
void DeliverMessage() {
  MSG message;
  if (!PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) return;
  TranslateMessage(&message);
  DispatchMessageW(&message);
}

}  // namespace

ComControlDriver::Apartment::Apartment() { Check(OleInitialize(nullptr), "OLE"); }

ComControlDriver::Apartment::~Apartment() {
  CoFreeUnusedLibraries();
  OleUninitialize();
}

ComControlDriver::ComControlDriver(std::string module, bool showWindow)
    : m_source(std::move(module)), m_showWindow(showWindow) {}

std::unique_ptr<DrivenControl> ComControlDriver::NewControl(DrivenEvents& events) try {
  return std::make_unique<DrivenComControl>(m_source.ClassName(), m_showWindow, events);
} catch (const ComFailure& failure) {
  std::cerr << "tlk host: " << failure.what() << '\n';
  return nullptr;
}

void ComControlDriver::DeliverOnce(std::uint32_t milliseconds) {
  MsgWaitForMultipleObjectsEx(0, nullptr, milliseconds, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
  DeliverMessage();
}

bool ComControlDriver::DeliverOnceOrInput() {
  const HANDLE ready = ReadyInput();
  const auto waited =
      MsgWaitForMultipleObjectsEx(1, &ready, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
  if (waited == WAIT_OBJECT_0) return true;
  DeliverMessage();
  return WaitForSingleObject(ready, 0) == WAIT_OBJECT_0;
}

bool ComControlDriver::ReadInput(std::string& bytes) { return Input().Read(bytes); }

std::uint64_t ComControlDriver::TickCount() { return GetTickCount64(); }

// A console can be waited for itself; whoever reads what is typed there asks it for the keys.
HANDLE ComControlDriver::ReadyInput() {
  return IsConversation() ? GetStdHandle(STD_INPUT_HANDLE) : Input().Ready();
}

InputReader& ComControlDriver::Input() {
  if (!m_input) m_input.emplace();
  return *m_input;
}

std::unique_ptr<ControlDriver> NewSystemDriver(const DriverOptions& options) {
  if (options.leaveOutTexts) SetEnvironmentVariableW(L"TLK_LEAVE_OUT_TEXTS", L"1");
  if (!options.showLogLines) DropStandardOutput();
  return std::make_unique<ComControlDriver>(options.module, options.showWindow);
}

}  // namespace tlk::host
