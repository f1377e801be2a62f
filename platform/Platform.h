#pragma once

#include "platform/Export.h"

namespace tlk {

class AnsiText;
class Files;
class StringTable;
class Surroundings;
class Synchronisation;

/// The ports that a whole process shares. (Sockets and windows belong to a thread and are handed to
/// each control by themselves.) It refers to its ports and owns none.
struct Platform {
  const AnsiText& text;              ///< The code page, both ways.
  const StringTable& strings;        ///< Message numbers to format texts.
  Synchronisation& synchronisation;  ///< Mutexes, events and threads.
  Surroundings& surroundings;        ///< The temporary folder, clocks, debugger output.
  Files& files;                      ///< To append to, remove and rename.
};

/// The platform that this program runs on. It is made on first use and stays until the process
/// ends, so that threads which outlive everything else may still use it.
[[nodiscard]] TLKC2_API const Platform& SystemPlatform();

}  // namespace tlk
