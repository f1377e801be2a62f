#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "platform/windows/Bstr.h"
#include "tests/com/LoadedModule.h"

namespace tlk {
namespace {

std::string Plain(const Bstr& text) { return {text.View().begin(), text.View().end()}; }

std::string NameOf(ITypeInfo* type, MEMBERID member) {
  Bstr name;
  Bstr help;
  EXPECT_EQ(type->GetDocumentation(member, name.Put(), help.Put(), nullptr, nullptr), S_OK);
  return Plain(name) + " '" + Plain(help) + "'";
}

ComPtr<ITypeInfo> Referred(ITypeInfo* type, HREFTYPE reference) {
  ComPtr<ITypeInfo> referred;
  EXPECT_EQ(type->GetRefTypeInfo(reference, referred.Put()), S_OK);
  return referred;
}

std::string TypeName(ITypeInfo* type, const TYPEDESC& used) {
  if (used.vt == VT_PTR) return TypeName(type, *used.lptdesc) + "*";
  if (used.vt != VT_USERDEFINED) return std::to_string(used.vt);
  return NameOf(Referred(type, used.hreftype).Get(), MEMBERID_NIL);
}

void TellFunction(ITypeInfo* type, UINT index, std::ostream& out) {
  FUNCDESC* function = nullptr;
  ASSERT_EQ(type->GetFuncDesc(index, &function), S_OK);
  Bstr names[8];
  static_assert(sizeof names == 8 * sizeof(BSTR));
  UINT count = 0;
  EXPECT_EQ(type->GetNames(function->memid, names[0].Put(), 8, &count), S_OK);
  out << "  " << function->memid << " " << NameOf(type, function->memid) << " invoke "
      << function->invkind;
  for (SHORT i = 0; i < function->cParams; ++i) {
    const ELEMDESC& parameter = function->lprgelemdescParam[i];
    out << ", " << TypeName(type, parameter.tdesc) << " " << Plain(names[i + 1]) << " "
        << parameter.paramdesc.wParamFlags;
  }
  out << " -> " << TypeName(type, function->elemdescFunc.tdesc) << "\n";
  type->ReleaseFuncDesc(function);
}

void TellType(ITypeInfo* type, std::ostream& out) {
  TYPEATTR* seen = nullptr;
  ASSERT_EQ(type->GetTypeAttr(&seen), S_OK);
  out << "kind " << seen->typekind << " flags " << (seen->wTypeFlags & ~TYPEFLAG_FOLEAUTOMATION)
      << " " << NameOf(type, MEMBERID_NIL) << "\n";
  HREFTYPE reference = 0;
  const bool isDual = SUCCEEDED(type->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference));
  const auto functions = isDual ? Referred(type, reference) : ComPtr<ITypeInfo>(type);
  for (UINT i = 0; i < (isDual ? 5U : seen->cFuncs); ++i) TellFunction(functions.Get(), i, out);
  for (UINT i = 0; i < seen->cVars; ++i) {
    VARDESC* constant = nullptr;
    ASSERT_EQ(type->GetVarDesc(i, &constant), S_OK);
    out << "  " << V_I4(constant->lpvarValue) << " " << NameOf(type, constant->memid) << "\n";
    type->ReleaseVarDesc(constant);
  }
  for (UINT i = 0; seen->typekind == TKIND_COCLASS && i < seen->cImplTypes; ++i) {
    INT flags = 0;
    EXPECT_EQ(type->GetImplTypeFlags(i, &flags), S_OK);
    EXPECT_EQ(type->GetRefTypeOfImplType(i, &reference), S_OK);
    out << "  implements " << NameOf(Referred(type, reference).Get(), MEMBERID_NIL) << " " << flags
        << "\n";
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

}  // namespace
}  // namespace tlk
