#include "com/ClassesRoot.h"

namespace tlk {
namespace {

LSTATUS Redirect(HKEY hive) {
  HKEY classes = nullptr;
  const LSTATUS opened = RegCreateKeyExW(hive, L"Software\\Classes", 0, nullptr, 0,
                                         KEY_READ | KEY_WRITE, nullptr, &classes, nullptr);
  if (opened != ERROR_SUCCESS) return opened;
  const LSTATUS redirected = RegOverridePredefKey(HKEY_CLASSES_ROOT, classes);
  RegCloseKey(classes);
  return redirected;
}

}  // namespace

ClassesRoot::ClassesRoot(HKEY hive) : m_result(HRESULT_FROM_WIN32(Redirect(hive))) {}

ClassesRoot::~ClassesRoot() {
  if (SUCCEEDED(m_result)) RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
}

}  // namespace tlk
