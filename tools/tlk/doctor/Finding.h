#pragma once

#include <string>

namespace tlk::doctor {

/// What a path leads to.
enum class FileKind { kMissing, kNoModule, k32Bit, k64Bit };

struct NamedFile {
  std::string path;  ///< Empty when none is named.
  FileKind kind = FileKind::kMissing;
};

/// What one view of one hive says of the control, as narrow ANSI text; what is not there is empty.
struct Finding {
  std::string hive;  ///< "machine" or "user"
  int view = 64;     ///< Bits of the programs that see it.

  // By the name TlkC2.Tlkc.
  std::string classId;
  std::string currentName;     ///< The name of the current version,
  std::string currentClassId;  ///< and the class that this name means.

  // By the class id.
  bool hasClass = false;
  std::string name;             ///< Name of the current version, again.
  std::string independentName;  ///< Name without a version.
  NamedFile module;
  std::string threadingModel;
  std::string version;
  std::string libraryId;

  // By the type library's id and the version.
  NamedFile library32;
  NamedFile library64;
};

}  // namespace tlk::doctor
