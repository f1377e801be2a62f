#include <gtest/gtest.h>
#include <process.h>

#include "tests/com/ModuleFile.h"

namespace tlk {
namespace {

const std::wstring kClasses = L"Software\\Classes\\";
const std::wstring kTypeLibrary = kClasses + L"TypeLib\\{C5A1C94B-80B9-4317-98BE-D528F13E2459}";
const std::wstring kInterface = kClasses + L"Interface\\{AEA070CC-49D3-4272-A0E2-F8F1B6BD30AA}";
const std::wstring kClass = kClasses + L"CLSID\\{152FDC3E-77C0-4E2B-957A-32C5CAE3B0CE}";
constexpr REGSAM kOtherView = sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
const std::wstring kSandbox = L"Software\\TlkC2 registration test";

const std::wstring kRegistered =
    LR"(
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

const std::wstring kNames = kRegistered.substr(kRegistered.find(L"\nTlk"));

/// A value with the module's path as "%MODULE%"; empty when there is none.
std::wstring Value(HKEY hive, const std::wstring& key, const wchar_t* value) {
  WCHAR text[512];
  DWORD size = sizeof text;
  if (RegGetValueW(hive, key.c_str(), value, RRF_RT_REG_SZ, nullptr, text, &size) != 0) return {};
  const std::wstring module = FileBesideTest(L"TlkC2.dll");
  std::wstring shown = text;
  return shown.starts_with(module) ? shown.replace(0, module.size(), L"%MODULE%") : shown;
}

std::wstring LibraryFile(HKEY hive) {
  return Value(hive, kTypeLibrary + (sizeof(void*) == 8 ? L"\\1.0\\0\\win64" : L"\\1.0\\0\\win32"),
               L"");
}

/// A key and what lies below it, line by line.
void Tell(HKEY hive, const std::wstring& path, const std::wstring& indent, std::wstring& told) {
  HKEY key = nullptr;
  if (RegOpenKeyW(hive, path.c_str(), &key) != ERROR_SUCCESS) return;
  const std::wstring text = Value(hive, path, L"");
  const std::wstring model = Value(hive, path, L"ThreadingModel");
  told += indent + path.substr(path.rfind(L'\\') + 1) + (text.empty() ? L"" : L" = " + text) +
          (model.empty() ? L"" : L", ThreadingModel = " + model);
  WCHAR child[256];
  for (DWORD i = 0; RegEnumKeyW(key, i, child, 256) == ERROR_SUCCESS; ++i) {
    Tell(hive, path + L"\\" + child, indent + L"  ", told);
  }
  RegCloseKey(key);
}

/// The classes of a hive, apart from what systems register for a type library in their own way.
std::wstring Classes(HKEY hive) {
  std::wstring told;
  for (const wchar_t* root : {L"CLSID", L"TlkC2.Tlkc", L"TlkC2.Tlkc.1"}) {
    Tell(hive, kClasses + root, L"\n", told);
  }
  return told;
}

/// Gives the process a registry of its own: both hives are empty, and nothing outlasts the test.
class RegistrationTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const HKEY hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
      HKEY stand = nullptr;
      const std::wstring name = hive == HKEY_CURRENT_USER ? L"\\User" : L"\\Machine";
      ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, (kSandbox + name).c_str(), &stand), 0);
      ASSERT_EQ(RegOverridePredefKey(hive, stand), 0);
      RegCloseKey(stand);
      MakeKey(hive, kClasses + L"Wow6432Node");  // Each bitness has a view of its own.
    }
  }

  void TearDown() override {
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, kSandbox.c_str());
  }

  static void MakeKey(HKEY hive, const std::wstring& name, REGSAM view = 0) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(hive, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | view, nullptr,
                              &key, nullptr),
              0);
    RegCloseKey(key);
  }

  HRESULT Install(BOOL install, LPCWSTR argument) const {
    return m_module.Call("DllInstall", install, argument);
  }

  const LoadedModule m_module;
};

TEST_F(RegistrationTest, WritesOneHiveAndClearsItAgain) {
  const struct {
    HKEY hive;
    HKEY other;
    LPCWSTR argument;
  } cases[] = {{HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER, nullptr},
               {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, L"user"}};
  for (const auto& each : cases) {
    EXPECT_EQ(Install(FALSE, each.argument), S_OK) << "nothing there";
    const std::wstring others = Classes(each.other);
    for (int times = 0; times < 2; ++times) {
      EXPECT_EQ(Install(TRUE, each.argument), S_OK);
      EXPECT_EQ(Classes(each.hive), kRegistered);
      EXPECT_EQ(LibraryFile(each.hive), L"%MODULE%");
    }
    MakeKey(each.hive, kClass, kOtherView);
    EXPECT_EQ(Install(FALSE, each.argument), S_OK);
    EXPECT_EQ(Classes(each.hive), L"\nCLSID" + kNames);
    EXPECT_EQ(LibraryFile(each.hive), L"");
    EXPECT_EQ(Value(each.hive, kInterface, L""), L"ITlkc");
    EXPECT_EQ(RegDeleteKeyExW(each.hive, kClass.c_str(), kOtherView, 0), 0);
    EXPECT_EQ(Install(FALSE, each.argument), S_OK);
    EXPECT_EQ(Classes(each.hive), L"\nCLSID");
    EXPECT_EQ(LibraryFile(each.hive), L"");
    EXPECT_EQ(Classes(each.other), others);
  }
  EXPECT_EQ(m_module.Call("DllRegisterServer"), S_OK);
  EXPECT_EQ(Classes(HKEY_LOCAL_MACHINE), kRegistered);
  EXPECT_EQ(m_module.Call("DllUnregisterServer"), S_OK);
  EXPECT_EQ(Classes(HKEY_LOCAL_MACHINE), L"\nCLSID");
  EXPECT_EQ(Install(TRUE, L"everyone"), E_INVALIDARG);
}

TEST_F(RegistrationTest, UndoesWhatItWroteWhenItFails) {
  // The library's entries are to stay, so the system does not let them into a passing key.
  HKEY passing = nullptr;
  MakeKey(HKEY_CURRENT_USER, kClasses + L"TypeLib");
  ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, kTypeLibrary.c_str(), 0, nullptr,
                            REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &passing, nullptr),
            0);
  RegCloseKey(passing);
  EXPECT_TRUE(FAILED(Install(TRUE, L"user")));
  EXPECT_EQ(Classes(HKEY_CURRENT_USER), L"\nCLSID");
}

TEST(Regsvr32Test, RegistersForTheUser) {
  const std::wstring module = L"\"" + FileBesideTest(L"TlkC2.dll") + L"\"";
  const auto run = [&](auto... options) {
    return _wspawnlp(_P_WAIT, L"regsvr32", L"regsvr32", L"/s", L"/n", L"/i:user", module.c_str(),
                     options..., nullptr);
  };
  EXPECT_EQ(run(), 0);
  EXPECT_TRUE(Classes(HKEY_CURRENT_USER).ends_with(kNames));
  EXPECT_EQ(LibraryFile(HKEY_CURRENT_USER), L"%MODULE%");
  EXPECT_EQ(run(L"/u"), 0);
  EXPECT_EQ(LibraryFile(HKEY_CURRENT_USER), L"");
}

}  // namespace
}  // namespace tlk
