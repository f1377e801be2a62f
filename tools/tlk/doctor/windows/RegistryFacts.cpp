#include "tools/tlk/doctor/windows/RegistryFacts.h"

#include <windows.h>

#include <string>

#include "platform/AnsiText.h"
#include "platform/Platform.h"
#include "platform/windows/Bstr.h"
#include "tools/tlk/doctor/Judgement.h"
#include "tools/tlk/doctor/ModuleFile.h"

namespace tlk::doctor {
namespace {

struct Hive {
  HKEY root;
  const char* name;
};

constexpr const wchar_t* kDefaultValue = nullptr;

std::wstring Widen(const std::string& narrow) {
  std::u16string wide;
  SystemPlatform().text.Widen(narrow, wide);
  return std::wstring(ToWide(wide));
}

std::string Narrow(const std::wstring& wide) {
  std::string narrow;
  SystemPlatform().text.Narrow(ToUtf16(wide), narrow);
  return narrow;
}

/// An open key, or none.
class Key {
 public:
  Key(HKEY root, const std::wstring& path, REGSAM view) {
    const REGSAM access = KEY_READ | view;
    if (RegOpenKeyExW(root, path.c_str(), 0, access, &m_key) != ERROR_SUCCESS) m_key = nullptr;
  }
  ~Key() {
    if (m_key != nullptr) RegCloseKey(m_key);
  }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;

  explicit operator bool() const { return m_key != nullptr; }

  /// A text, its variables replaced; empty when there is none.
  [[nodiscard]] std::wstring Text(const wchar_t* value) const {
    DWORD size = 0;
    if (m_key == nullptr || Get(value, nullptr, size) != ERROR_SUCCESS) return {};
    std::wstring text(size / sizeof(wchar_t), L'\0');
    if (Get(value, text.data(), size) != ERROR_SUCCESS) return {};
    text.resize(text.find(L'\0'));
    return text;
  }

 private:
  LSTATUS Get(const wchar_t* value, wchar_t* text, DWORD& size) const {
    return RegGetValueW(m_key, nullptr, value, RRF_RT_REG_SZ, nullptr, text, &size);
  }

  HKEY m_key = nullptr;
};

/// The classes in one view of one hive.
class Classes {
 public:
  Classes(const Hive& hive, int view)
      : m_root(hive.root), m_view(view == 64 ? KEY_WOW64_64KEY : KEY_WOW64_32KEY) {}

  [[nodiscard]] bool Has(const std::string& path) const { return static_cast<bool>(Open(path)); }

  [[nodiscard]] std::string Text(const std::string& path,
                                 const wchar_t* value = kDefaultValue) const {
    return Narrow(Open(path).Text(value));
  }

  [[nodiscard]] NamedFile File(const std::string& path) const {
    const std::wstring file = Open(path).Text(kDefaultValue);
    return {Narrow(file), InspectFile(file)};
  }

 private:
  [[nodiscard]] Key Open(const std::string& path) const {
    return {m_root, L"Software\\Classes\\" + Widen(path), m_view};
  }

  HKEY m_root;
  REGSAM m_view;
};

void CollectByName(const Classes& classes, Finding& found) {
  const std::string name = kControlName;
  found.classId = classes.Text(name + "\\CLSID");
  found.currentName = classes.Text(name + "\\CurVer");
  if (!found.currentName.empty()) {
    found.currentClassId = classes.Text(found.currentName + "\\CLSID");
  }
}

void CollectByClass(const Classes& classes, Finding& found) {
  if (found.classId.empty()) return;
  const std::string key = "CLSID\\" + found.classId;
  found.hasClass = classes.Has(key);
  found.name = classes.Text(key + "\\ProgID");
  found.independentName = classes.Text(key + "\\VersionIndependentProgID");
  found.module = classes.File(key + "\\InprocServer32");
  found.threadingModel = classes.Text(key + "\\InprocServer32", L"ThreadingModel");
  found.version = classes.Text(key + "\\Version");
  found.libraryId = classes.Text(key + "\\TypeLib");
}

void CollectByLibrary(const Classes& classes, Finding& found) {
  if (found.libraryId.empty()) return;
  const std::string key = "TypeLib\\" + found.libraryId + "\\" + found.version + "\\0\\";
  found.library32 = classes.File(key + "win32");
  found.library64 = classes.File(key + "win64");
}

Finding Collect(const Hive& hive, int view) {
  Finding found;
  found.hive = hive.name;
  found.view = view;
  const Classes classes(hive, view);
  CollectByName(classes, found);
  CollectByClass(classes, found);
  CollectByLibrary(classes, found);
  return found;
}

/// A 32-bit system has one view alone.
std::vector<int> Views() {
  SYSTEM_INFO system;
  GetNativeSystemInfo(&system);
  if (system.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_INTEL) return {32};
  return {64, 32};
}

}  // namespace

std::vector<Finding> CollectFindings() {
  std::vector<Finding> registrations;
  for (const Hive& hive : {Hive{HKEY_LOCAL_MACHINE, "machine"}, Hive{HKEY_CURRENT_USER, "user"}}) {
    for (const int view : Views()) registrations.push_back(Collect(hive, view));
  }
  return registrations;
}

}  // namespace tlk::doctor
