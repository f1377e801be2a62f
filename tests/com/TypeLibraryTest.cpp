#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "platform/windows/Bstr.h"
#include "tests/com/LoadedModule.h"

namespace tlk {

std::string Plain(const Bstr& text) { return {text.View().begin(), text.View().end()}; }

std::string NameOf(ITypeInfo* type, MEMBERID member) {
  Bstr name;
  Bstr help;
  EXPECT_EQ(type->GetDocumentation(member, name.Put(), help.Put(), nullptr, nullptr), S_OK);
  return Plain(name) + " '" + Plain(help) + "'";
}

ComPtr<ITypeInfo> Implemented(ITypeInfo* type, UINT index) {
  HREFTYPE reference = 0;
  ComPtr<ITypeInfo> implemented;
  EXPECT_EQ(type->GetRefTypeOfImplType(index, &reference), S_OK);
  EXPECT_EQ(type->GetRefTypeInfo(reference, implemented.Put()), S_OK);
  return implemented;
}

void TellType(ITypeInfo* type, std::ostream& out) {
  TYPEATTR* seen = nullptr;
  ASSERT_EQ(type->GetTypeAttr(&seen), S_OK);
  out << "kind " << seen->typekind << " flags " << (seen->wTypeFlags & ~TYPEFLAG_FOLEAUTOMATION)
      << " " << NameOf(type, MEMBERID_NIL) << "\n";
  const bool isDual = (seen->wTypeFlags & TYPEFLAG_FDUAL) != 0;
  const auto functions = isDual ? Implemented(type, UINT_MAX) : ComPtr<ITypeInfo>(type);
  for (MEMBERID id = 1;; ++id) {
    Bstr names[8];
    static_assert(sizeof names == 8 * sizeof(BSTR));
    UINT count = 0;
    if (FAILED(functions->GetNames(id, names[0].Put(), 8, &count))) break;
    out << "  " << id << " " << NameOf(type, id);
    for (UINT i = 1; i < count; ++i) out << " " << Plain(names[i]);
    out << "\n";
  }
  for (UINT i = 0; i < seen->cVars; ++i) {
    VARDESC* constant = nullptr;
    ASSERT_EQ(type->GetVarDesc(i, &constant), S_OK);
    out << "  " << V_I4(constant->lpvarValue) << " " << NameOf(type, constant->memid) << "\n";
    type->ReleaseVarDesc(constant);
  }
  for (UINT i = 0; seen->typekind == TKIND_COCLASS && i < seen->cImplTypes; ++i) {
    INT flags = 0;
    EXPECT_EQ(type->GetImplTypeFlags(i, &flags), S_OK);
    out << "  " << flags << " " << NameOf(Implemented(type, i).Get(), MEMBERID_NIL) << "\n";
  }
  type->ReleaseTypeAttr(seen);
}

TEST(TypeLibraryTest, IsReadBackAsDescribed) {
  ComPtr<ITypeLib> library;
  const std::wstring module = FileBesideTest("TlkC2.dll").wstring();
  ASSERT_EQ(LoadTypeLibEx(module.c_str(), REGKIND_NONE, library.Put()), S_OK);
  std::ostringstream told;
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    ComPtr<ITypeInfo> type;
    ASSERT_EQ(library->GetTypeInfo(i, type.Put()), S_OK);
    TellType(type.Get(), told);
  }
  std::ostringstream described;
  described << std::ifstream(TLKC2_TYPE_LIBRARY).rdbuf();
  EXPECT_TRUE(described.str().ends_with("as C++ sees them.\n" + told.str())) << told.str();
}

}  // namespace tlk
