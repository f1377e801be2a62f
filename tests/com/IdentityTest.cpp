#include "tests/com/ContainerFixture.h"

#include <gmock/gmock.h>
#include <objsafe.h>

namespace tlk {

const IID kInterfaces[] = {
    IID_IUnknown,          IID_IDispatch,          IID_ITlkc,
    IID_IPersist,          IID_IPersistStreamInit, IID_IPersistStorage,
    IID_IOleObject,        IID_IOleControl,        IID_IOleWindow,
    IID_IOleInPlaceObject, IID_IViewObject,        IID_IOleInPlaceObjectWindowless,
    IID_IViewObject2,      IID_IViewObjectEx,      IID_IOleInPlaceActiveObject,
    IID_IDataObject,       IID_IQuickActivate,     IID_ISpecifyPropertyPages,
    IID_IProvideClassInfo, IID_IProvideClassInfo2, IID_IConnectionPointContainer};

/// An object with the control as a part of it.
struct Outer final : OwnComponent<IUnknown> {
  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    const bool isOwn = iid == IID_IUnknown;
    return isOwn ? OwnComponent::QueryInterface(iid, object) : inner->QueryInterface(iid, object);
  }

  ComPtr<IUnknown> inner;
};

using IdentityTest = ContainerTest;

TEST_F(IdentityTest, IsOneObjectAlsoWithAnObjectAroundIt) {
  Outer outer;
  outer.inner = m_module.Create(&outer);
  const auto alone = m_module.Create();
  for (IUnknown* const identity : {alone.Get(), static_cast<IUnknown*>(&outer)}) {
    for (const IID& part : kInterfaces) {
      SCOPED_TRACE(part.Data1);
      ComPtr<IUnknown> start;
      ComPtr<ITlkc> control;
      ComPtr<IUnknown> same;
      ASSERT_EQ(identity->QueryInterface(part, start.PutVoid()), S_OK);
      ASSERT_EQ(start.QueryTo(control), S_OK);
      ASSERT_EQ(start.QueryTo(same), S_OK);
      EXPECT_EQ(same.Get(), identity);
    }
    for (const IID& none : {DIID__ITlkcEvents, IID_IObjectSafety}) {
      void* object = identity;
      EXPECT_EQ(identity->QueryInterface(none, &object), E_NOINTERFACE);
      EXPECT_EQ(object, nullptr);
    }
  }
  ComPtr<IUnknown> own;
  EXPECT_EQ(outer.inner.QueryTo(own), S_OK);
  EXPECT_EQ(own.Get(), outer.inner.Get()) << "the outer object's own reference";
  EXPECT_EQ(alone->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(IdentityTest, SaysWhatItIsAndWhatItDoesNotDo) {
  const auto data = m_embedded.As<IDataObject>();
  const auto object = m_embedded.As<IOleObject>();
  const auto view = m_embedded.As<IViewObjectEx>();
  FORMATETC text{CF_TEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
  DWORD told[] = {9, 9, 9, 9};
  GUID events{};
  CAUUID pages{9, nullptr};
  LPOLESTR name = nullptr;
  const RECT bounds{10, 10, 20, 20};
  IAdviseSink* const sink = &m_embedded.site;
  const std::pair<HRESULT, HRESULT> calls[] = {
      {m_embedded.As<IProvideClassInfo2>()->GetGUID(1, &events), S_OK},
      {object->GetMiscStatus(DVASPECT_CONTENT, &told[0]), S_OK},
      {object->GetMiscStatus(DVASPECT_ICON, &told[1]), S_OK},
      {object->GetUserType(USERCLASSTYPE_FULL, &name), S_OK},
      {object->Unadvise(99), OLE_E_NOCONNECTION},
      {m_embedded.As<ISpecifyPropertyPages>()->GetPages(&pages), S_OK},
      {view->SetAdvise(DVASPECT_ICON, 0, sink), DV_E_DVASPECT},
      {view->QueryHitPoint(DVASPECT_CONTENT, &bounds, {10, 19}, 0, &told[2]), S_OK},
      {view->QueryHitPoint(DVASPECT_CONTENT, &bounds, {10, 20}, 0, &told[3]), S_OK},
      {data->DAdvise(&text, 0, sink, &told[0]), DV_E_FORMATETC}};
  for (const auto& [result, expected] : calls) EXPECT_EQ(result, expected);
  EXPECT_TRUE(events == DIID__ITlkcEvents && pages.cElems == 0);
  EXPECT_THAT(told, testing::ElementsAre(131473, 0, HITRESULT_HIT, HITRESULT_OUTSIDE));
  EXPECT_STREQ(name, L"Tlkc Class");
  CoTaskMemFree(name);
}

TEST_F(IdentityTest, DrawsItsTextIntoItsBoundsAndNowhereElse) {
  FORMATETC drawing{CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT};
  STGMEDIUM medium{};
  ASSERT_EQ(m_embedded.As<IDataObject>()->GetData(&drawing, &medium), S_OK);
  char records[512];
  const auto* const picture = static_cast<METAFILEPICT*>(GlobalLock(medium.hMetaFilePict));
  const UINT size = GetMetaFileBitsEx(picture->hMF, sizeof records, records);
  EXPECT_NE(std::string(records, size).find("ATL 3.0 : Tlkc"), std::string::npos);
  GlobalUnlock(medium.hMetaFilePict);
  ReleaseStgMedium(&medium);

  const HDC device = CreateCompatibleDC(nullptr);
  const HBITMAP bitmap = CreateBitmap(200, 100, 1, 32, nullptr);
  SelectObject(device, bitmap);
  PatBlt(device, 0, 0, 200, 100, BLACKNESS);
  if (GetPixel(device, 0, 0) != 0)
    GTEST_SKIP() << "this system cannot draw into a picture in memory";
  SaveDC(device);
  SetMapMode(device, MM_ANISOTROPIC);  // twice as large, and upside down
  SetWindowExtEx(device, 10, 10, nullptr);
  SetViewportExtEx(device, 20, -20, nullptr);
  SetViewportOrgEx(device, 10, 50, nullptr);
  const RECTL bounds{35, -20, 45, 20};  // narrower than the text
  m_embedded.As<IViewObject>()->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, device,
                                     &bounds, nullptr, nullptr, 0);
  RestoreDC(device, -1);
  const RECT place{80, 10, 100, 90};
  int strays = 0;
  for (int at = 0; at < 200 * 100; ++at)
    strays += GetPixel(device, at % 200, at / 200) != 0 && !PtInRect(&place, {at % 200, at / 200});
  EXPECT_EQ(strays, 0);
  EXPECT_TRUE(GetPixel(device, 81, 11) == 0xFFFFFF && GetPixel(device, 98, 88) == 0xFFFFFF);
  DeleteDC(device);
  DeleteObject(bitmap);
}

TEST_F(IdentityTest, MeetsAContainerInOneCall) {
  QACONTAINER container{};
  QACONTROL control{};
  container.cbSize = sizeof container;
  control.cbSize = sizeof control;
  container.pClientSite = &m_listener;
  container.pUnkEventSink = static_cast<_ITlkcEvents*>(&m_listener);
  EXPECT_EQ(m_embedded.As<IQuickActivate>()->QuickActivate(&container, &control), S_OK);
  EXPECT_TRUE(control.dwMiscStatus == 131473 && control.dwViewStatus == VIEWSTATUS_OPAQUE);
  EXPECT_EQ(m_embedded.Events()->Unadvise(control.dwEventCookie), S_OK);
  EXPECT_EQ(m_embedded.Do(OLEIVERB_SHOW), S_OK);
  EXPECT_NE(m_listener.calls, "") << "the site that it was given";
  m_embedded.Leave();
}

}  // namespace tlk
