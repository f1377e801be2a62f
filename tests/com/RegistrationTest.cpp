#include <fstream>
#include <iterator>

#include "tests/com/LoadedModule.h"

namespace tlk {

constexpr bool kIs64Bit = sizeof(void*) == 8;
constexpr REGSAM kOtherView = kIs64Bit ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
const std::string kSandbox = "Software\\TlkC2 registration test";
const std::string kClasses = "Software\\Classes\\";
const std::string kClass = kClasses + "CLSID\\{152FDC3E-77C0-4E2B-957A-32C5CAE3B0CE}";
const std::string kInterface = kClasses + "Interface\\{AEA070CC-49D3-4272-A0E2-F8F1B6BD30AA}";
const std::string kTypeLibrary = kClasses + "TypeLib\\{C5A1C94B-80B9-4317-98BE-D528F13E2459}";
const std::string kLibraryFile = kTypeLibrary + (kIs64Bit ? "\\1.0\\0\\win64" : "\\1.0\\0\\win32");

/// A value with the module's path as "%MODULE%"; empty when there is none.
std::string Value(HKEY hive, const std::string& key, const char* value = "") {
  char text[512];
  DWORD size = sizeof text;
  if (RegGetValueA(hive, key.c_str(), value, RRF_RT_REG_SZ, nullptr, text, &size) != 0) return {};
  const std::string module = FileBesideTest("TlkC2.dll").string();
  std::string shown = text;
  return shown.starts_with(module) ? shown.replace(0, module.size(), "%MODULE%") : shown;
}

/// A key and what lies below it, line by line.
std::string Told(HKEY hive, const std::string& path, const std::string& indent = "") {
  HKEY key = nullptr;
  if (RegOpenKeyA(hive, path.c_str(), &key) != ERROR_SUCCESS) return {};
  std::string told = indent + path.substr(path.rfind('\\') + 1) + " '" + Value(hive, path) + "'\n";
  const std::string model = Value(hive, path, "ThreadingModel");
  if (!model.empty()) told += indent + "  ThreadingModel '" + model + "'\n";
  char child[256];
  for (DWORD i = 0; RegEnumKeyA(key, i, child, 256) == ERROR_SUCCESS; ++i)
    told += Told(hive, path + "\\" + child, indent + "  ");
  RegCloseKey(key);
  return told;
}

/// What a hive has, apart from what systems register for a type library in their own way: "all",
/// "none", the "names" alone, or something else, line by line.
std::string State(HKEY hive) {
  std::ifstream file(TLKC2_REGISTRATION);
  const std::string all(std::istreambuf_iterator<char>(file), {});
  std::string told = "library '" + Value(hive, kLibraryFile) + "'\n";
  for (const char* root : {"CLSID", "TlkC2.Tlkc", "TlkC2.Tlkc.1"})
    told += Told(hive, kClasses + root);
  if (told == all) return "all";
  if (told == "library ''\nCLSID ''\n") return "none";
  return told == "library ''\nCLSID ''\n" + all.substr(all.find("TlkC2.Tlkc '")) ? "names" : told;
}

LSTATUS MakeKey(HKEY hive, const std::string& name, REGSAM view = 0, DWORD options = 0) {
  HKEY key = nullptr;
  const LSTATUS made = RegCreateKeyExA(hive, name.c_str(), 0, nullptr, options,
                                       KEY_ALL_ACCESS | view, nullptr, &key, nullptr);
  RegCloseKey(key);
  return made;
}

/// Gives the process a registry of its own: both hives are empty, and nothing outlasts the test.
struct RegistrationTest : testing::Test {
  RegistrationTest() {
    for (const HKEY hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
      HKEY stand = nullptr;
      const std::string name = hive == HKEY_CURRENT_USER ? "\\User" : "\\Machine";
      EXPECT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, (kSandbox + name).c_str(), &stand), 0);
      EXPECT_EQ(RegOverridePredefKey(hive, stand), 0);
      RegCloseKey(stand);
      EXPECT_EQ(MakeKey(hive, kClasses + "Wow6432Node"), 0);  // Each bitness has its own view.
      EXPECT_EQ(MakeKey(hive, kClasses + "CLSID"), 0);
    }
  }
  ~RegistrationTest() override {
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    RegDeleteTreeA(HKEY_CURRENT_USER, kSandbox.c_str());
  }

  /// What the machine's hive and the user's have after a call that succeeds.
  std::string After(const char* entry, auto... arguments) {
    EXPECT_EQ(m_module.Call(entry, arguments...), S_OK) << entry;
    return State(HKEY_LOCAL_MACHINE) + " " + State(HKEY_CURRENT_USER);
  }
  std::string Install(LPCWSTR whom) { return After("DllInstall", TRUE, whom); }
  std::string Remove(LPCWSTR whom) { return After("DllInstall", FALSE, whom); }

  const LoadedModule m_module;
};

TEST_F(RegistrationTest, WritesOneHiveAndClearsItAgain) {
  EXPECT_EQ(Remove(nullptr), "none none");
  EXPECT_EQ(Remove(L"user"), "none none");
  EXPECT_EQ(Install(L""), "all none");
  EXPECT_EQ(Install(nullptr), "all none");
  EXPECT_EQ(m_module.Call("DllInstall", TRUE, L"everyone"), E_INVALIDARG);
  EXPECT_EQ(Install(L"user"), "all all");
  EXPECT_EQ(Install(L"USER"), "all all");
  for (const HKEY hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER})
    EXPECT_EQ(MakeKey(hive, kClass, kOtherView), 0);
  EXPECT_EQ(Remove(nullptr), "names all");
  EXPECT_EQ(Remove(L"user"), "names names");
  EXPECT_EQ(Value(HKEY_LOCAL_MACHINE, kInterface), "ITlkc");
  for (const HKEY hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER})
    EXPECT_EQ(RegDeleteKeyExA(hive, kClass.c_str(), kOtherView, 0), 0);
  EXPECT_EQ(Remove(nullptr), "none names");
  EXPECT_EQ(Remove(L"user"), "none none");
  EXPECT_EQ(After("DllRegisterServer"), "all none");
  EXPECT_EQ(After("DllUnregisterServer"), "none none");
}

TEST_F(RegistrationTest, UndoesWhatItWroteWhenItFails) {
  // The library's entries are to stay, so the system does not let them into a passing key.
  ASSERT_EQ(MakeKey(HKEY_CURRENT_USER, kClasses + "TypeLib"), 0);
  ASSERT_EQ(MakeKey(HKEY_CURRENT_USER, kTypeLibrary, 0, REG_OPTION_VOLATILE), 0);
  EXPECT_TRUE(FAILED(m_module.Call("DllInstall", TRUE, L"user")));
  EXPECT_EQ(State(HKEY_CURRENT_USER), "none");
}

}  // namespace tlk
