#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/Synchronisation.h"

namespace tlk {

namespace fs = std::filesystem;

/// The system's files, and a folder for a test's own.
struct FilesFixture : testing::Test {
  FilesFixture() { fs::create_directory(m_folder); }
  ~FilesFixture() override { fs::remove_all(m_folder); }

  [[nodiscard]] std::string Path(const char* name) const { return (m_folder / name).string(); }

  std::int64_t Append(const char* name, std::string_view line = "line") {
    return m_files.AppendLine(Path(name), line);
  }

  [[nodiscard]] std::string ContentOf(const char* name) const {
    std::ifstream file(m_folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  Files& m_files = SystemPlatform().files;
  const fs::path m_folder =
      fs::temp_directory_path() /
      ("tlk-files-" + std::to_string(SystemPlatform().synchronisation.CurrentThreadId()));
};

}  // namespace tlk
