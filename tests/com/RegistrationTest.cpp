#include <functional>

#include "tests/com/LoadedModule.h"

namespace tlk {
namespace {

constexpr bool kIs64Bit = sizeof(void*) == 8;
constexpr REGSAM kOtherView = kIs64Bit ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
const std::wstring kSandbox = L"Software\\TlkC2 registration test";
const std::wstring kClasses = L"Software\\Classes\\";
const std::wstring kClass = kClasses + L"CLSID\\{152FDC3E-77C0-4E2B-957A-32C5CAE3B0CE}";
const std::wstring kInterface = kClasses + L"Interface\\{AEA070CC-49D3-4272-A0E2-F8F1B6BD30AA}";
const std::wstring kTypeLibrary = kClasses + L"TypeLib\\{C5A1C94B-80B9-4317-98BE-D528F13E2459}";
const std::wstring kLibraryFile =
    kTypeLibrary + (kIs64Bit ? L"\\1.0\\0\\win64" : L"\\1.0\\0\\win32");

// What a hive holds at the most.
const std::wstring kAll =
    LR"(library %MODULE%
CLSID
  {152FDC3E-77C0-4E2B-957A-32C5CAE3B0CE} = Tlkc Class
    Control
    InprocServer32 = %MODULE%, ThreadingModel = Apartment
    Insertable
    MiscStatus = 0
      1 = 131473
    ProgID = TlkC2.Tlkc.1
    Programmable
    ToolboxBitmap32 = %MODULE%, 102
    TypeLib = {C5A1C94B-80B9-4317-98BE-D528F13E2459}
    Version = 1.0
    VersionIndependentProgID = TlkC2.Tlkc
TlkC2.Tlkc = Tlkc Class
  CLSID = {152FDC3E-77C0-4E2B-957A-32C5CAE3B0CE}
  CurVer = TlkC2.Tlkc.1
TlkC2.Tlkc.1 = Tlkc Class
  CLSID = {152FDC3E-77C0-4E2B-957A-32C5CAE3B0CE})";

const std::wstring kNone = L"library \nCLSID";
const std::wstring kShared = kNone + kAll.substr(kAll.find(L"\nTlk"));

/// A value with the module's path as "%MODULE%"; empty when there is none.
std::wstring Value(HKEY hive, const std::wstring& key, const wchar_t* value = L"") {
  WCHAR text[512];
  DWORD size = sizeof text;
  if (RegGetValueW(hive, key.c_str(), value, RRF_RT_REG_SZ, nullptr, text, &size) != 0) return {};
  const std::wstring module = FileBesideTest(L"TlkC2.dll");
  std::wstring shown = text;
  return shown.starts_with(module) ? shown.replace(0, module.size(), L"%MODULE%") : shown;
}

/// A key and what lies below it, line by line.
std::wstring Told(HKEY hive, const std::wstring& path, const std::wstring& indent = L"\n") {
  HKEY key = nullptr;
  if (RegOpenKeyW(hive, path.c_str(), &key) != ERROR_SUCCESS) return {};
  const std::wstring text = Value(hive, path);
  const std::wstring model = Value(hive, path, L"ThreadingModel");
  std::wstring told = indent + path.substr(path.rfind(L'\\') + 1) +
                      (text.empty() ? L"" : L" = " + text) +
                      (model.empty() ? L"" : L", ThreadingModel = " + model);
  WCHAR child[256];
  for (DWORD i = 0; RegEnumKeyW(key, i, child, 256) == ERROR_SUCCESS; ++i)
    told += Told(hive, path + L"\\" + child, indent + L"  ");
  RegCloseKey(key);
  return told;
}

/// A hive, apart from what systems register for a type library in their own way.
std::wstring Told(HKEY hive) {
  std::wstring told = L"library " + Value(hive, kLibraryFile);
  for (const wchar_t* root : {L"CLSID", L"TlkC2.Tlkc", L"TlkC2.Tlkc.1"})
    told += Told(hive, kClasses + root);
  return told;
}

LSTATUS MakeKey(HKEY hive, const std::wstring& name, REGSAM view = 0, DWORD options = 0) {
  HKEY key = nullptr;
  const LSTATUS made = RegCreateKeyExW(hive, name.c_str(), 0, nullptr, options,
                                       KEY_ALL_ACCESS | view, nullptr, &key, nullptr);
  RegCloseKey(key);
  return made;
}

/// Gives the process a registry of its own: both hives are empty, and nothing outlasts the test.
class RegistrationTest : public testing::Test {
 protected:
  RegistrationTest() {
    for (const HKEY hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
      HKEY stand = nullptr;
      const std::wstring name = hive == HKEY_CURRENT_USER ? L"\\User" : L"\\Machine";
      EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, (kSandbox + name).c_str(), &stand), 0);
      EXPECT_EQ(RegOverridePredefKey(hive, stand), 0);
      RegCloseKey(stand);
      EXPECT_EQ(MakeKey(hive, kClasses + L"CLSID"), 0);
      EXPECT_EQ(MakeKey(hive, kClasses + L"Wow6432Node"), 0);  // Each bitness has its own view.
    }
  }
  ~RegistrationTest() override {
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, kSandbox.c_str());
  }

  HRESULT Install(BOOL install, LPCWSTR argument) const {
    return m_module.Call("DllInstall", install, argument);
  }

  const LoadedModule m_module;
};

TEST_F(RegistrationTest, WritesOneHiveAndClearsItAgain) {
  const auto install = [&](LPCWSTR whom) { return [=, this] { return Install(TRUE, whom); }; };
  const auto remove = [&](LPCWSTR whom) { return [=, this] { return Install(FALSE, whom); }; };
  const auto call = [&](const char* entry) { return [=, this] { return m_module.Call(entry); }; };
  const auto addOther = [](HKEY hive) { return [=] { return MakeKey(hive, kClass, kOtherView); }; };
  const auto removeOther = [](HKEY hive) {
    return [=] { return RegDeleteKeyExW(hive, kClass.c_str(), kOtherView, 0); };
  };
  const auto hasInterface = [] { return Value(HKEY_LOCAL_MACHINE, kInterface) != L"ITlkc"; };
  const struct {
    std::function<HRESULT()> step;
    std::wstring machine;
    std::wstring user;
    HRESULT result = S_OK;
  } steps[] = {{remove(nullptr), kNone, kNone},
               {remove(L"user"), kNone, kNone},
               {install(L""), kAll, kNone},
               {install(nullptr), kAll, kNone},
               {install(L"everyone"), kAll, kNone, E_INVALIDARG},
               {install(L"user"), kAll, kAll},
               {install(L"USER"), kAll, kAll},
               {addOther(HKEY_LOCAL_MACHINE), kAll, kAll},
               {remove(nullptr), kShared, kAll},
               {hasInterface, kShared, kAll},
               {removeOther(HKEY_LOCAL_MACHINE), kShared, kAll},
               {addOther(HKEY_CURRENT_USER), kShared, kAll},
               {remove(L"user"), kShared, kShared},
               {remove(nullptr), kNone, kShared},
               {removeOther(HKEY_CURRENT_USER), kNone, kShared},
               {remove(L"user"), kNone, kNone},
               {call("DllRegisterServer"), kAll, kNone},
               {call("DllUnregisterServer"), kNone, kNone}};
  for (int number = 1; const auto& [step, machine, user, result] : steps) {
    SCOPED_TRACE(number++);
    EXPECT_EQ(step(), result);
    EXPECT_EQ(Told(HKEY_LOCAL_MACHINE), machine);
    EXPECT_EQ(Told(HKEY_CURRENT_USER), user);
  }
}

TEST_F(RegistrationTest, UndoesWhatItWroteWhenItFails) {
  // The library's entries are to stay, so the system does not let them into a passing key.
  ASSERT_EQ(MakeKey(HKEY_CURRENT_USER, kClasses + L"TypeLib"), 0);
  ASSERT_EQ(MakeKey(HKEY_CURRENT_USER, kTypeLibrary, 0, REG_OPTION_VOLATILE), 0);
  EXPECT_TRUE(FAILED(Install(TRUE, L"user")));
  EXPECT_EQ(Told(HKEY_CURRENT_USER), kNone);
}

}  // namespace
}  // namespace tlk
