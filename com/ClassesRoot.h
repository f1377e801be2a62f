#pragma once

#include <windows.h>

namespace tlk {

/// While it lives, HKEY_CLASSES_ROOT is the Software\Classes of one hive for the whole process, so
/// that what is registered or removed is that hive's and no other's.
class ClassesRoot {
 public:
  /// `hive` is HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER.
  explicit ClassesRoot(HKEY hive);
  ~ClassesRoot();

  ClassesRoot(const ClassesRoot&) = delete;
  ClassesRoot& operator=(const ClassesRoot&) = delete;

  /// Whether it worked, above all whether the process may write there.
  [[nodiscard]] HRESULT Result() const { return m_result; }

 private:
  HRESULT m_result;
};

}  // namespace tlk
