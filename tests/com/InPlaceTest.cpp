#include <fstream>
#include <map>
#include <sstream>

#include "tests/com/ContainerFixture.h"

namespace tlk {

struct InPlaceTest : ContainerTest {
  [[nodiscard]] const char* ShownWindow() const {
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
  FORMATETC picture{CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT};
  DWORD cookie = 0;
  MSG key{};
  Site another;
  Site* const sites[] = {nullptr, &m_site, &another};
  ASSERT_EQ(object->Advise(&m_site, &cookie), S_OK);
  ASSERT_EQ(m_embedded.As<IViewObject>()->SetAdvise(DVASPECT_CONTENT, ADVF_ONLYONCE, &m_site),
            S_OK);
  ASSERT_EQ(m_embedded.As<IDataObject>()->DAdvise(&picture, 0, &m_site, &cookie), S_OK);
  const auto click = [&] {
    const LPARAM where = MAKELPARAM(HTCLIENT, WM_LBUTTONDOWN);
    return SendMessageW(m_embedded.Window(), WM_MOUSEACTIVATE, 0, where) != 0 ? S_OK : S_FALSE;
  };
  std::map<std::string, std::function<HRESULT(int)>> steps{
      {"verb", [&](int verb) { return m_embedded.Do(verb); }},
      {"close", [&](int option) { return object->Close(static_cast<DWORD>(option)); }},
      {"site", [&](int number) { return object->SetClientSite(sites[number]); }},
      {"resize",
       [&](int width) {
         SIZEL extent{width, 2000};
         return object->SetExtent(DVASPECT_CONTENT, &extent);
       }},
      {"key", [&](int) { return active->TranslateAccelerator(&key); }},
      {"activate-document", [&](int on) { return active->OnDocWindowActivate(on); }},
      {"deactivate-user-interface", [&](int) { return place->UIDeactivate(); }},
      {"deactivate", [&](int) { return place->InPlaceDeactivate(); }},
      {"click", [&](int) { return click(); }},
      {"focus", [&](int on) {
         return SetFocus(on != 0 ? m_embedded.Window() : Site::window) != nullptr ? S_OK : S_FALSE;
       }}};
  std::ifstream file(TLKC2_IN_PLACE_LIFE);
  ASSERT_TRUE(file.is_open());
  m_site.answer = E_ABORT;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('#')) continue;
    std::istringstream words(line);
    std::string step;
    int number = 0;
    words >> step >> number >> m_site.awaited;  // No call is called "->".
    const HRESULT result = steps.at(step)(number);
    std::ostringstream told;
    told << line.substr(0, line.find("->")) << "-> " << std::exchange(m_site.calls, {}) << " ("
         << ShownWindow() << ", " << std::hex << result << ")";
    EXPECT_EQ(told.str(), line);
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
    MapWindowPoints(nullptr, Site::window, reinterpret_cast<POINT*>(&place), 2);
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
    Embedded embedded(m_module);
    embedded.site.awaited = call;
    embedded.site.during = [&] { embedded.Leave(); };
    EXPECT_EQ(SUCCEEDED(embedded.Do(OLEIVERB_UIACTIVATE)), call == "ShowObject") << call;
    EXPECT_EQ(GetWindow(Site::window, GW_CHILD), nullptr) << call;
    const std::string& calls = embedded.site.calls;
    EXPECT_EQ(calls.find("OnInPlaceActivate") == calls.npos,
              calls.find("OnInPlaceDeactivate") == calls.npos)
        << calls;
  }
}

}  // namespace tlk
