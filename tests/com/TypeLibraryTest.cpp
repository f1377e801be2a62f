#include <gtest/gtest.h>

#include <sstream>

#include "tests/com/LoadedModule.h"

namespace tlk {
namespace {

// Kinds, flags and types are the system's numbers: TYPEKIND, TYPEFLAGS, INVOKEKIND, VARENUM,
// PARAMFLAGS. Functions of a dual interface are shown as C++ sees them.
constexpr const char* kLibrary = R"(kind 4 flags 4096 _ITlkcEvents '_ITlkcEvents Interface'
  1 ConnStatusChanged 'method ConnStatusChanged' invoke 1, TLK_ConnStatusEnum Status 1 -> 25
  2 TlkMsgRecieved 'method TlkMsgRecieved' invoke 1, 8 MessageType 1, 8 Message 1 -> 25
kind 0 flags 0 TLK_ConnStatusEnum ''
  0 TLK_Not_Connected 'TLK Client not connected'
  1 TLK_Resolving 'TLK Client resolving server'
  2 TLK_Connecting 'TLK Client connecting'
  3 TLK_Connected 'TLK Client connected'
kind 5 flags 2 Tlkc 'Tlkc Class'
  implements ITlkc 1
  implements _ITlkcEvents 3
kind 4 flags 4160 ITlkc 'ITlkc Interface'
  1 Disconnect 'method Disconnect' invoke 1 -> 25
  2 Connect 'method Connect' invoke 1, 8 Server 1, 22 Port 1, 3* pVal 10 -> 25
  3 ConnectionStatus 'property ConnectionStatus' invoke 2, TLK_ConnStatusEnum* pVal 10 -> 25
  4 SendTLKMsg 'method SendTLKMsg' invoke 1, 8 Message 1, 8 Data 1 -> 25
  5 SendReceiveTlkMsg 'method SendReceiveTlkMsg' invoke 1, 8 SndMsg 1, 8 SndData 1, 8* RecMSG 2, 8* RecData 2, 3 TimeOutMS 1 -> 25
)";

std::string Narrow(BSTR owned) {
  const std::wstring text(owned, SysStringLen(owned));
  SysFreeString(owned);
  return {text.begin(), text.end()};
}

std::string Documented(ITypeInfo* type, MEMBERID member) {
  BSTR name = nullptr;
  BSTR help = nullptr;
  EXPECT_EQ(type->GetDocumentation(member, &name, &help, nullptr, nullptr), S_OK);
  return Narrow(name) + " '" + Narrow(help) + "'";
}

ComPtr<ITypeInfo> Referred(ITypeInfo* type, HREFTYPE reference) {
  ComPtr<ITypeInfo> referred;
  EXPECT_EQ(type->GetRefTypeInfo(reference, referred.Put()), S_OK);
  return referred;
}

std::string NameOf(const ComPtr<ITypeInfo>& type) {
  const std::string documented = Documented(type.Get(), MEMBERID_NIL);
  return documented.substr(0, documented.find(' '));
}

std::string TypeName(ITypeInfo* type, const TYPEDESC& used) {
  if (used.vt == VT_PTR) return TypeName(type, *used.lptdesc) + "*";
  if (used.vt != VT_USERDEFINED) return std::to_string(used.vt);
  return NameOf(Referred(type, used.hreftype));
}

void TellFunction(ITypeInfo* type, UINT index, std::ostream& out) {
  FUNCDESC* function = nullptr;
  ASSERT_EQ(type->GetFuncDesc(index, &function), S_OK);
  BSTR names[8]{};
  UINT count = 0;
  EXPECT_EQ(type->GetNames(function->memid, names, 8, &count), S_OK);
  SysFreeString(names[0]);
  out << "  " << function->memid << " " << Documented(type, function->memid) << " invoke "
      << function->invkind;
  for (SHORT i = 0; i < function->cParams; ++i) {
    const ELEMDESC& parameter = function->lprgelemdescParam[i];
    out << ", " << TypeName(type, parameter.tdesc) << " " << Narrow(names[i + 1]) << " "
        << parameter.paramdesc.wParamFlags;
  }
  out << " -> " << TypeName(type, function->elemdescFunc.tdesc) << "\n";
  type->ReleaseFuncDesc(function);
}

void TellConstant(ITypeInfo* type, UINT index, std::ostream& out) {
  VARDESC* constant = nullptr;
  ASSERT_EQ(type->GetVarDesc(index, &constant), S_OK);
  out << "  " << V_I4(constant->lpvarValue) << " " << Documented(type, constant->memid) << "\n";
  type->ReleaseVarDesc(constant);
}

void TellType(ITypeInfo* type, std::ostream& out) {
  TYPEATTR* held = nullptr;
  ASSERT_EQ(type->GetTypeAttr(&held), S_OK);
  const TYPEATTR seen = *held;
  type->ReleaseTypeAttr(held);
  out << "kind " << seen.typekind << " flags " << (seen.wTypeFlags & ~TYPEFLAG_FOLEAUTOMATION)
      << " " << Documented(type, MEMBERID_NIL) << "\n";
  const bool isDual = (seen.wTypeFlags & TYPEFLAG_FDUAL) != 0;
  HREFTYPE reference = 0;
  const HRESULT asInterface = type->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference);
  EXPECT_EQ(SUCCEEDED(asInterface), isDual);
  const auto functions = isDual ? Referred(type, reference) : ComPtr<ITypeInfo>(type);
  for (UINT i = 0; i < (isDual ? 5U : seen.cFuncs); ++i) TellFunction(functions.Get(), i, out);
  for (UINT i = 0; i < seen.cVars; ++i) TellConstant(type, i, out);
  for (UINT i = 0; seen.typekind == TKIND_COCLASS && i < seen.cImplTypes; ++i) {
    INT flags = 0;
    EXPECT_EQ(type->GetRefTypeOfImplType(i, &reference), S_OK);
    EXPECT_EQ(type->GetImplTypeFlags(i, &flags), S_OK);
    out << "  implements " << NameOf(Referred(type, reference)) << " " << flags << "\n";
  }
}

TEST(TypeLibraryTest, IsReadBackAsDescribed) {
  ComPtr<ITypeLib> library;
  const std::wstring module = FileBesideTest(L"TlkC2.dll");
  ASSERT_EQ(LoadTypeLibEx(module.c_str(), REGKIND_NONE, library.Put()), S_OK);
  std::ostringstream told;
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    ComPtr<ITypeInfo> type;
    ASSERT_EQ(library->GetTypeInfo(i, type.Put()), S_OK);
    TellType(type.Get(), told);
  }
  EXPECT_EQ(told.str(), kLibrary);
}

}  // namespace
}  // namespace tlk
