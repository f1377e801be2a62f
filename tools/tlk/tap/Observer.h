#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "tools/tlk/tap/Printer.h"
#include "tools/tlk/tap/Recorder.h"
#include "tools/tlk/wire/FrameExtractor.h"
#include "tools/tlk/wire/MessageView.h"
#include "xml/Gate.h"

namespace tlk::tap {

/// Makes messages of what passes a tap: shows them with what is to be said against them, and has
/// them recorded. Belongs to one thread.
class Observer {
 public:
  /// `printer`, and `recorder` if there is one, outlive the observer.
  Observer(const wire::ViewOptions& view, Printer& printer, Recorder* recorder);

  void Connected(int client, const Moment& when);
  void Bytes(int client, Way way, const Moment& when, std::string_view bytes);
  void Ended(int client, Way way, const Moment& when);
  void Gone(int client, const Moment& when, Ending ending, std::string_view how);

  /// Shows a line of its own.
  void Say(const Moment& when, std::string_view text);

 private:
  /// One side's bytes.
  struct Stream {
    FrameExtractor frames;
    std::uint64_t received = 0;  ///< Bytes, while messages can be told apart.
    bool isLost = false;         ///< Messages can no longer be told apart.
    bool hasEnded = false;
  };
  using Streams = std::array<Stream, 2>;

  Stream& StreamOf(int client, Way way);
  void Message(int client, Way way, const Moment& when, const std::string& frame);
  void LoseTrack(int client, Way way, const Moment& when, std::string_view loose);
  [[nodiscard]] static std::string FaultAtEnd(const Stream& stream);
  void RecordRest(int client, Way way, const Moment& when);

  const wire::ViewOptions m_view;
  Printer& m_printer;
  Recorder* const m_recorder;
  const XmlGate m_gate;
  std::map<int, Streams> m_clients;
};

}  // namespace tlk::tap
