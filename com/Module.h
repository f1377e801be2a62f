#pragma once

#include <windows.h>

#include <atomic>

#include "log/QNLogger.h"
#include "thread/ThreadLayer.h"
#include "xml/Gate.h"
#include "xml/msxml/MsxmlDom.h"

namespace tlk {

/// The module as a whole: what holds it in memory, and what all of its controls share.
///
/// There is one, made when the module is loaded. Safe to use from any thread once `Start` has
/// succeeded.
class Module {
 public:
  [[nodiscard]] static Module& Get();

  /// Starts Windows Sockets, version 1.1, for as long as the module is loaded; false when that
  /// fails, and then the module does not load. Reads the environment variable TLK_LEAVE_OUT_TEXTS,
  /// once: when it is set, and neither empty nor "0", the texts of messages are left out of the
  /// trace log, as `LeaveOutMessageTexts` says.
  [[nodiscard]] bool Start(HINSTANCE instance);
  void End();

  [[nodiscard]] HINSTANCE Instance() const { return m_instance; }

  /// Full path of the module's file; empty when the system does not tell.
  [[nodiscard]] std::wstring Path() const;

  /// Whether an object of the module lives or a host has locked it in memory.
  [[nodiscard]] bool IsHeld() const { return m_holds != 0; }

  /// Holds the module in memory, and lets it go. The last to go waits up to a second for what is
  /// left of the trace log, because a host may end its process right after.
  void Hold();
  void LetGo();

  /// "TLK_Client.log", the trace log of all controls of the process.
  [[nodiscard]] iLogger& TraceLog() { return m_traceLog; }
  [[nodiscard]] DomFactory& Dom() { return m_dom; }
  [[nodiscard]] const XmlGate& Gate() const { return m_gate; }

 private:
  Module();

  static Module s_module;

  HINSTANCE m_instance = nullptr;
  std::atomic<long> m_holds{0};
  const ThreadLayer m_threadLayer;  // Made before the log and ended after it.
  MsxmlDomFactory m_dom;
  const XmlGate m_gate;
  QNLogger m_traceLog;
};

/// Holds the module for as long as an object lives: a member of every object that a host can hold.
class ModuleHold {
 public:
  ModuleHold() { Module::Get().Hold(); }
  ~ModuleHold() { Module::Get().LetGo(); }

  ModuleHold(const ModuleHold&) = delete;
  ModuleHold& operator=(const ModuleHold&) = delete;
};

}  // namespace tlk
