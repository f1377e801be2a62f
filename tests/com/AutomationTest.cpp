#include "tests/com/ContainerFixture.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include "platform/windows/Variant.h"

namespace tlk {

VARIANT Of(VARTYPE type, auto content) {
  VARIANT value{};
  value.vt = type;
  std::ranges::copy(std::as_bytes(std::span(&content, 1)),
                    reinterpret_cast<std::byte*>(&value.byref));
  return value;
}

VARIANT Number(LONG number) { return Of(VT_I4, number); }
VARIANT Place(const void* variable) { return Of(VT_BYREF | VT_VARIANT, variable); }

struct AutomationTest : ContainerTest {
  /// Arguments stand in the reverse of their usual order; the first are those with names.
  HRESULT Call(DISPID member, std::vector<VARIANT> arguments, std::vector<DISPID> named = {},
               WORD kind = DISPATCH_METHOD) {
    DISPPARAMS given{arguments.data(), named.data(), static_cast<UINT>(arguments.size()),
                     static_cast<UINT>(named.size())};
    EXCEPINFO exception{};
    const HRESULT called =
        m_dispatch->Invoke(member, IID_NULL, 0, kind, &given, m_result.Put(), &exception, nullptr);
    return called == DISP_E_EXCEPTION ? exception.scode : called;
  }

  const ComPtr<IDispatch> m_dispatch = m_embedded.As<IDispatch>();
  Variant m_result;
  const Bstr m_bstr{L"127.0.0.1"};
  const VARIANT m_text = Of(VT_BSTR, m_bstr.Get());
};

TEST_F(AutomationTest, RefusesWhatDoesNotFitAndChangesNothing) {
  m_embedded.Advise(m_listener);
  const Variant kept(42L);
  const VARIANT place = Place(&kept.Get());
  using Named = std::vector<DISPID>;
  const std::tuple<const char*, DISPID, std::vector<VARIANT>, HRESULT, Named> cases[] = {
      {"too few", 2, {m_text}, DISP_E_BADPARAMCOUNT, {}},
      {"too many", 2, {Number(2), Number(1), m_text}, DISP_E_BADPARAMCOUNT, {}},
      {"null", 2, {Number(1), Of(VT_NULL, 0)}, DISP_E_TYPEMISMATCH, {}},
      {"object", 4, {Of(VT_UNKNOWN, nullptr), m_text}, DISP_E_TYPEMISMATCH, {}},
      {"nowhere", 5, {Number(9), place, Place(nullptr), m_text, m_text}, E_POINTER, {}},
      {"no place", 5, {Number(9), place, m_text, m_text, m_text}, DISP_E_TYPEMISMATCH, {}},
      {"unknown name", 2, {Number(1), m_text}, DISP_E_PARAMNOTFOUND, {2, 0}},
      {"negative name", 2, {Number(1), m_text}, DISP_E_PARAMNOTFOUND, {1, -1}},
      {"more names than arguments", 2, {Number(1)}, E_INVALIDARG, {1, 0}},
      {"unknown member", 6, {}, DISP_E_MEMBERNOTFOUND, {}}};
  for (const auto& [name, member, arguments, result, named] : cases)
    EXPECT_EQ(Call(member, arguments, named), result) << name;
  EXPECT_EQ(Call(3, {Number(3)}, {DISPID_PROPERTYPUT}, DISPATCH_PROPERTYPUT),
            DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(m_embedded.control->Connect(m_bstr.Get(), 1, nullptr), E_POINTER);
  EXPECT_EQ(m_listener.calls, "");
  EXPECT_EQ(kept.Get().lVal, 42);
}

TEST_F(AutomationTest, TalksToAServerByName) {
  const wchar_t* names[] = {L"connect", L"Port", L"Server", L"Host"};
  const auto given = const_cast<LPOLESTR*>(names);
  DISPID ids[4];
  EXPECT_EQ(m_dispatch->GetIDsOfNames(IID_NULL, given, 4, 0, ids), DISP_E_UNKNOWNNAME);
  EXPECT_EQ(m_dispatch->GetIDsOfNames(IID_NULL, given, 3, 0, ids), S_OK);
  LoopbackPeer peer;
  const VARIANT port = Number(ntohs(peer.Address().port));
  ASSERT_EQ(m_embedded.Do(OLEIVERB_SHOW), S_OK);
  ASSERT_EQ(Call(ids[0], {port, m_text}, {ids[1], ids[2]}), S_OK);
  EXPECT_TRUE(m_result.Type() == VT_I4 && m_result.Get().lVal == 1);
  peer.Accept();
  EXPECT_EQ(Call(3, {}, {}, DISPATCH_PROPERTYGET), S_OK);
  EXPECT_TRUE(m_result.Type() == VT_I4 && m_result.Get().lVal == 3);
  long untouched = 77;
  EXPECT_EQ(m_embedded.control->Connect(nullptr, 1, &untouched), E_FAIL);
  EXPECT_EQ(untouched, 77);

  // The second request has no connection: what the first has brought stays. What was there is
  // freed.
  const Variant type(42L);
  Variant data;
  *data.Put() = Of(VT_DISPATCH, ComPtr<IDispatch>(&m_listener).Detach());
  const VARIANT none = Of(VT_BSTR, nullptr);  // an empty text
  peer.Send(ServerMessage("Yes"));
  for (int times = 0; times < 2; ++times) {
    EXPECT_EQ(Call(5, {Number(9999), Place(&data.Get()), Place(&type.Get()), none, m_text}), S_OK);
    EXPECT_TRUE(type.Text() == u"Yes" && data.Text() == u"<Data/>") << times;
    EXPECT_EQ(Call(1, {}), S_OK);
  }
}

}  // namespace tlk
