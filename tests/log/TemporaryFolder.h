#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace tlk::test {

/// A folder of its own for a test, gone with all its files when the test ends.
class TemporaryFolder {
 public:
  TemporaryFolder() : m_path((std::filesystem::temp_directory_path() / "tlkc2-XXXXXX").string()) {
    if (mkdtemp(m_path.data()) == nullptr) throw std::runtime_error("no temporary folder");
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }

  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::string& Path() const { return m_path; }

 private:
  std::string m_path;
};

}  // namespace tlk::test
