#include "tests/com/ContainerFixture.h"

namespace tlk {
namespace {

const std::string kEntered = "CanInPlaceActivate OnInPlaceActivate GetWindow GetWindowContext";
const std::string kShown = "GetWindow GetWindowContext ShowObject";
const std::string kLeft = "ClearActive ClearActive OnUIDeactivate";

class InPlaceTest : public EmbeddedTest {
 protected:
  static std::string WindowOf(const Embedded& embedded) {
    const HWND window = embedded.Window();
    if (window == nullptr) return "none";
    return (GetWindowLongW(window, GWL_STYLE) & WS_VISIBLE) != 0 ? "seen" : "hidden";
  }

  Site& m_site = m_embedded.site;
};

TEST_F(InPlaceTest, LivesThroughTheWholeOfAContainersLife) {
  const auto object = m_embedded.As<IOleObject>();
  const auto place = m_embedded.As<IOleInPlaceObject>();
  DWORD cookie = 0;
  ASSERT_EQ(object->Advise(&m_site, &cookie), S_OK);
  SIZEL extent{3000, 2000};
  const auto verb = [&](LONG number) { return [&, number] { return m_embedded.Do(number); }; };
  const auto close = [&](DWORD option) { return [&, option] { return object->Close(option); }; };
  const struct {
    std::function<HRESULT()> step;
    std::string calls;
    std::string window;
    HRESULT result = S_OK;
  } life[] = {{verb(OLEIVERB_INPLACEACTIVATE), kEntered + " ShowObject", "seen"},
              {verb(OLEIVERB_UIACTIVATE),
               "GetWindow GetWindowContext OnUIActivate Focus SetActive SetBorderSpace SetActive "
               "SetBorderSpace ShowObject",
               "seen"},
              {verb(OLEIVERB_UIACTIVATE), kShown, "seen"},
              {[&] { return place->UIDeactivate(); }, kLeft, "seen"},
              {[&] { return place->UIDeactivate(); }, "", "seen"},
              {verb(OLEIVERB_HIDE), "NoFocus", "hidden"},
              {verb(OLEIVERB_SHOW), kShown, "seen"},
              {[&] { return place->InPlaceDeactivate(); }, "OnInPlaceDeactivate", "none"},
              {[&] { return place->InPlaceDeactivate(); }, "", "none"},
              {verb(OLEIVERB_OPEN), kEntered + " ShowObject", "seen"},
              {close(OLECLOSE_SAVEIFDIRTY), "Unshown OnInPlaceDeactivate OnClose", "none"},
              {[&] { return object->SetExtent(DVASPECT_CONTENT, &extent); }, "", "none"},
              {close(OLECLOSE_NOSAVE), "OnClose", "none"},
              {close(OLECLOSE_PROMPTSAVE), "SaveObject OnSave OnClose", "none"},
              {[&] { return object->Unadvise(cookie); }, "", "none"},
              {verb(5), kEntered + " ShowObject", "seen", OLEOBJ_S_INVALIDVERB},
              {[&] { return object->SetClientSite(nullptr); }, "OnInPlaceDeactivate", "none"},
              {verb(OLEIVERB_SHOW), "", "none", E_UNEXPECTED},
              {verb(OLEIVERB_PROPERTIES), "", "none", E_NOTIMPL}};
  for (int number = 0; const auto& [step, calls, window, result] : life) {
    EXPECT_EQ(step(), result) << "step " << number;
    EXPECT_EQ(m_site.TakeCalls(), calls) << "step " << number;
    EXPECT_EQ(WindowOf(m_embedded), window) << "step " << number++;
  }
}

TEST_F(InPlaceTest, LiesWhereTheContainerSays) {
  ASSERT_EQ(m_embedded.Do(OLEIVERB_SHOW), S_OK);
  const HWND window = m_embedded.Window();
  EXPECT_EQ(GetWindowLongW(window, GWL_STYLE), 0x56000000);
  const struct {
    RECT position;
    RECT clip;
    int region;  // of what is seen
  } moves[] = {{{-10, 30, 90, 90}, {0, 40, 70, 300}, SIMPLEREGION},
               {{500, 0, 600, 10}, {0, 0, 400, 300}, NULLREGION},
               {{0, 0, 50, 40}, {0, 0, 400, 300}, ERROR}};  // all of it
  const HRGN region = CreateRectRgn(0, 0, 0, 0);
  for (const auto& [position, clip, kind] : moves) {
    ASSERT_EQ(m_embedded.As<IOleInPlaceObject>()->SetObjectRects(&position, &clip), S_OK);
    RECT place{};
    GetWindowRect(window, &place);
    MapWindowPoints(nullptr, m_window, reinterpret_cast<POINT*>(&place), 2);
    EXPECT_TRUE(EqualRect(&place, &position)) << position.left;
    EXPECT_EQ(GetWindowRgn(window, region), kind) << position.left;
    GetRgnBox(region, &place);
    const RECT seen{10, 10, 80, 60};
    EXPECT_EQ(EqualRect(&place, &seen), kind == SIMPLEREGION) << position.left;
  }
  DeleteObject(region);
}

TEST_F(InPlaceTest, IsInactiveWhenTheSiteRefuses) {
  const struct {
    const char* refused;
    HRESULT refusal;
    HRESULT result;
    std::string calls;
    const char* window = "none";
  } cases[] = {{"CanInPlaceActivate", S_FALSE, E_FAIL, "CanInPlaceActivate"},
               {"CanInPlaceActivate", E_ABORT, E_ABORT, "CanInPlaceActivate"},
               {"OnInPlaceActivate", E_ABORT, E_ABORT, "CanInPlaceActivate OnInPlaceActivate"},
               {"GetWindowContext", E_ABORT, E_ABORT, kEntered + " OnInPlaceDeactivate"},
               {"OnUIActivate", E_ABORT, E_ABORT, kEntered + " OnUIActivate", "seen"}};
  for (const auto& [refused, refusal, result, calls, window] : cases) {
    m_site.refused = refused;
    m_site.refusal = refusal;
    EXPECT_EQ(m_embedded.Do(OLEIVERB_UIACTIVATE), result) << refused;
    EXPECT_EQ(m_site.TakeCalls(), calls);
    EXPECT_EQ(WindowOf(m_embedded), window) << refused;
    EXPECT_FALSE(m_site.Active()) << refused;
  }
}

TEST_F(InPlaceTest, AContainerMayGoInsideAnyCall) {
  for (const std::string call :
       {"CanInPlaceActivate", "OnInPlaceActivate", "GetWindow", "GetWindowContext", "OnUIActivate",
        "Focus", "SetActive", "SetBorderSpace", "ShowObject"}) {
    Embedded embedded(m_module, m_window);
    embedded.site.during = [&](const std::string& made) {
      if (made == call && embedded.control) embedded.Leave();
    };
    EXPECT_EQ(SUCCEEDED(embedded.Do(OLEIVERB_UIACTIVATE)), call == "ShowObject") << call;
    EXPECT_EQ(GetWindow(m_window, GW_CHILD), nullptr) << call;
    const std::string calls = embedded.site.TakeCalls();
    EXPECT_EQ(calls.find("OnInPlaceActivate") == calls.npos,
              calls.find("OnInPlaceDeactivate") == calls.npos)
        << calls;
  }
}

TEST_F(InPlaceTest, TheMouseAsksForAttentionUnlessTheUserDesigns) {
  ASSERT_EQ(m_embedded.Do(OLEIVERB_SHOW), S_OK);
  for (const VARIANT_BOOL uses : {VARIANT_FALSE, VARIANT_TRUE}) {
    m_site.userMode = uses;
    SendMessageW(m_embedded.Window(), WM_MOUSEACTIVATE, 0, MAKELPARAM(HTCLIENT, WM_LBUTTONDOWN));
    EXPECT_EQ(static_cast<bool>(m_site.Active()), uses == VARIANT_TRUE);
  }
  const ComPtr<IOleInPlaceActiveObject> active = m_site.Active();
  m_site.TakeCalls();
  MSG key{};
  EXPECT_EQ(active->TranslateAccelerator(&key), S_OK);
  EXPECT_EQ(active->OnDocWindowActivate(FALSE), S_OK);
  EXPECT_EQ(m_site.TakeCalls(), "Key " + kLeft);
}

}  // namespace
}  // namespace tlk
