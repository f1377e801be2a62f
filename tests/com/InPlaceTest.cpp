#include "tests/com/ContainerFixture.h"

namespace tlk {
namespace {

const std::string kEntered = "CanInPlaceActivate OnInPlaceActivate GetWindow GetWindowContext";
const std::string kShown = "GetWindow GetWindowContext ShowObject";

class InPlaceTest : public ContainerTest {
 protected:
  [[nodiscard]] std::string ShownWindow() const {
    const HWND window = m_embedded.Window();
    if (window == nullptr) return "none";
    return (GetWindowLongW(window, GWL_STYLE) & WS_VISIBLE) != 0 ? "seen" : "hidden";
  }

  Site& m_site = m_embedded.site;
};

TEST_F(InPlaceTest, LivesThroughTheWholeOfAContainersLife) {
  const auto object = m_embedded.As<IOleObject>();
  const auto place = m_embedded.As<IOleInPlaceObject>();
  const auto active = m_embedded.As<IOleInPlaceActiveObject>();
  SIZEL extent{3000, 2000};
  FORMATETC picture{CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT};
  DWORD cookie = 0;
  MSG key{};
  Site another(m_window);
  ASSERT_EQ(object->Advise(&m_site, &cookie), S_OK);
  ASSERT_EQ(m_embedded.As<IViewObject>()->SetAdvise(DVASPECT_CONTENT, ADVF_ONLYONCE, &m_site),
            S_OK);
  ASSERT_EQ(m_embedded.As<IDataObject>()->DAdvise(&picture, 0, &m_site, &cookie), S_OK);
  const auto verb = [&](LONG number) { return [&, number] { return m_embedded.Do(number); }; };
  const auto close = [&](DWORD option) { return [&, option] { return object->Close(option); }; };
  const auto focus = [](HWND window) { return SetFocus(window) != window ? S_OK : S_FALSE; };
  const auto click = [&] {
    const LPARAM where = MAKELPARAM(HTCLIENT, WM_LBUTTONDOWN);
    SendMessageW(m_embedded.Window(), WM_MOUSEACTIVATE, 0, where);
    return S_OK;
  };
  const auto site = [&](Site* given) { return [=] { return object->SetClientSite(given); }; };
  const auto resize = [&](LONG width) {
    return [&, width] {
      extent.cx = width;
      return object->SetExtent(DVASPECT_CONTENT, &extent);
    };
  };
  const struct {
    std::function<HRESULT()> step;
    std::string calls;
    std::string window;
    HRESULT result = S_OK;
    std::string refused = "";  // by the site
  } life[] = {
      {verb(OLEIVERB_UIACTIVATE), "CanInPlaceActivate", "none", E_ABORT, "CanInPlaceActivate"},
      {verb(OLEIVERB_UIACTIVATE), "CanInPlaceActivate OnInPlaceActivate", "none", E_ABORT,
       "OnInPlaceActivate"},
      {verb(OLEIVERB_UIACTIVATE), kEntered + " OnInPlaceDeactivate", "none", E_ABORT,
       "GetWindowContext"},
      {verb(OLEIVERB_UIACTIVATE), kEntered + " OnUIActivate", "seen", E_ABORT, "OnUIActivate"},
      {verb(OLEIVERB_INPLACEACTIVATE), kShown, "seen"},
      {verb(OLEIVERB_DISCARDUNDOSTATE), "", "seen"},
      {verb(OLEIVERB_UIACTIVATE),
       "GetWindow GetWindowContext OnUIActivate Focus SetActive SetBorderSpace ShowObject", "seen"},
      {verb(OLEIVERB_UIACTIVATE), kShown, "seen"},
      {[&] { return active->TranslateAccelerator(&key); }, "Key", "seen"},
      {[&] { return active->OnDocWindowActivate(TRUE); }, "", "seen"},
      {[&] { return place->UIDeactivate(); }, "ClearActive OnUIDeactivate", "seen"},
      {[&] { return place->UIDeactivate(); }, "", "seen"},
      {[&] { return focus(m_window); }, "NoFocus", "seen"},
      {[&] { return focus(m_embedded.Window()); },
       "GetWindow GetWindowContext OnUIActivate SetActive SetBorderSpace ShowObject Focus", "seen"},
      {[&] { return active->OnDocWindowActivate(FALSE); }, "ClearActive OnUIDeactivate", "seen"},
      {click, "GetWindow GetWindowContext OnUIActivate SetActive SetBorderSpace ShowObject",
       "seen"},
      {click, "", "seen"},
      {verb(OLEIVERB_HIDE), "ClearActive OnUIDeactivate NoFocus", "hidden"},
      {verb(OLEIVERB_SHOW), kShown, "seen"},
      {[&] { return place->InPlaceDeactivate(); }, "OnInPlaceDeactivate", "none"},
      {[&] { return place->InPlaceDeactivate(); }, "", "none"},
      {verb(OLEIVERB_OPEN), kEntered + " ShowObject", "seen"},
      {close(OLECLOSE_SAVEIFDIRTY), "Unshown OnInPlaceDeactivate OnClose", "none"},
      {resize(3000), "OnViewChange OnDataChange", "none"},
      {resize(3000), "", "none"},
      {resize(3001), "OnDataChange", "none"},
      {close(OLECLOSE_NOSAVE), "OnClose", "none"},
      {close(OLECLOSE_PROMPTSAVE), "SaveObject OnSave OnClose", "none"},
      {verb(5), kEntered + " ShowObject", "seen", OLEOBJ_S_INVALIDVERB},
      {site(&another), "OnInPlaceDeactivate", "none"},
      {site(&m_site), "", "none"},
      {verb(OLEIVERB_SHOW), kEntered + " ShowObject", "seen"},
      {site(&m_site), "", "seen"},
      {site(nullptr), "OnInPlaceDeactivate", "none"},
      {verb(OLEIVERB_SHOW), "", "none", E_UNEXPECTED},
      {verb(OLEIVERB_PROPERTIES), "", "none", E_NOTIMPL}};
  for (int number = 1; const auto& [step, calls, window, result, refused] : life) {
    SCOPED_TRACE(number++);
    m_site.refused = refused;
    EXPECT_EQ(step(), result);
    EXPECT_EQ(m_site.TakeCalls(), calls);
    EXPECT_EQ(ShownWindow(), window);
  }
}

TEST_F(InPlaceTest, LiesWhereTheContainerSays) {
  ASSERT_EQ(m_embedded.Do(OLEIVERB_SHOW), S_OK);
  const HWND window = m_embedded.Window();
  EXPECT_EQ(GetWindowLongW(window, GWL_STYLE), 0x56000000);
  const RECT position{-10, 30, 90, 90};
  const std::pair<RECT, int> clips[] = {
      {{0, 40, 70, 300}, SIMPLEREGION}, {{90, 0, 99, 99}, NULLREGION}, {{-10, 0, 99, 99}, ERROR}};
  const HRGN region = CreateRectRgn(0, 0, 0, 0);
  for (const auto& [clip, kind] : clips) {
    ASSERT_EQ(m_embedded.As<IOleInPlaceObject>()->SetObjectRects(&position, &clip), S_OK);
    RECT place{};
    GetWindowRect(window, &place);
    MapWindowPoints(nullptr, m_window, reinterpret_cast<POINT*>(&place), 2);
    EXPECT_TRUE(EqualRect(&place, &position)) << clip.left;
    EXPECT_EQ(GetWindowRgn(window, region), kind) << clip.left;
    EXPECT_EQ(PtInRegion(region, 10, 10) && !PtInRegion(region, 9, 10), kind == SIMPLEREGION);
  }
  DeleteObject(region);
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

}  // namespace
}  // namespace tlk
