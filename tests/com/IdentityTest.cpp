#include "tests/com/ContainerFixture.h"

#include <objsafe.h>

namespace tlk {
namespace {

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

// From each interface to each other, and from there back to the one identity.
void ExpectOneObject(IUnknown& identity) {
  for (const IID& from : kInterfaces) {
    for (const IID& to : kInterfaces) {
      SCOPED_TRACE(testing::Message() << from.Data1 << " " << to.Data1);
      ComPtr<IUnknown> start;
      ComPtr<IUnknown> end;
      ComPtr<IUnknown> same;
      ASSERT_EQ(identity.QueryInterface(from, start.PutVoid()), S_OK);
      ASSERT_EQ(start.QueryTo(end, to), S_OK);
      ASSERT_EQ(end.QueryTo(same), S_OK);
      EXPECT_EQ(same.Get(), &identity);
    }
  }
  for (const IID& none : {DIID__ITlkcEvents, IID_IObjectSafety}) {
    void* object = &identity;
    EXPECT_EQ(identity.QueryInterface(none, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
  }
}

TEST_F(IdentityTest, IsOneObjectWithNobodyAroundIt) {
  ExpectOneObject(*m_module.Create().Get());
  EXPECT_EQ(m_module.Create()->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(IdentityTest, IsAPartOfAnObjectAroundIt) {
  Outer outer;
  outer.inner = m_module.Create(&outer);
  ExpectOneObject(outer);
  ComPtr<IUnknown> identity;
  EXPECT_EQ(outer.inner.QueryTo(identity), S_OK);
  EXPECT_EQ(identity.Get(), outer.inner.Get()) << "the outer object's own reference";
}

TEST_F(IdentityTest, SaysWhatItIsAndWhatItDoesNotDo) {
  const auto data = m_embedded.As<IDataObject>();
  const auto object = m_embedded.As<IOleObject>();
  const auto view = m_embedded.As<IViewObjectEx>();
  FORMATETC text{CF_TEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
  FORMATETC drawing{CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT};
  STGMEDIUM medium{};
  DWORD asContent = 0;
  DWORD asIcon = 1;
  DWORD cookie = 0;
  DWORD in = 9;
  DWORD out = 9;
  GUID events{};
  CAUUID pages{9, nullptr};
  LPOLESTR name = nullptr;
  const RECT bounds{10, 10, 20, 20};
  IAdviseSink* const sink = &m_embedded.site;
  const std::pair<HRESULT, HRESULT> cases[] = {
      {m_embedded.As<IProvideClassInfo2>()->GetGUID(1, &events), S_OK},
      {object->GetMiscStatus(DVASPECT_CONTENT, &asContent), S_OK},
      {object->GetMiscStatus(DVASPECT_ICON, &asIcon), S_OK},
      {object->GetUserType(USERCLASSTYPE_FULL, &name), S_OK},
      {object->Unadvise(99), OLE_E_NOCONNECTION},
      {m_embedded.As<ISpecifyPropertyPages>()->GetPages(&pages), S_OK},
      {view->SetAdvise(DVASPECT_ICON, 0, sink), DV_E_DVASPECT},
      {view->QueryHitPoint(DVASPECT_CONTENT, &bounds, {10, 19}, 0, &in), S_OK},
      {view->QueryHitPoint(DVASPECT_CONTENT, &bounds, {10, 20}, 0, &out), S_OK},
      {data->GetData(&text, &medium), DV_E_FORMATETC},
      {data->GetData(&drawing, &medium), S_OK},
      {data->SetData(&text, nullptr, FALSE), E_NOTIMPL},
      {data->DAdvise(&text, 0, sink, &cookie), DV_E_FORMATETC}};
  for (const auto& [result, expected] : cases) EXPECT_EQ(result, expected);
  EXPECT_TRUE(events == DIID__ITlkcEvents && pages.cElems == 0);
  EXPECT_TRUE(asContent == 131473 && asIcon == 0 && in == HITRESULT_HIT && out == 0);
  EXPECT_STREQ(name, L"Tlkc Class");
  EXPECT_EQ(medium.tymed, static_cast<DWORD>(TYMED_MFPICT));
  CoTaskMemFree(name);
  ReleaseStgMedium(&medium);
}

TEST_F(IdentityTest, MeetsAContainerInOneCall) {
  const auto quick = m_embedded.As<IQuickActivate>();
  Site site(m_window);
  QACONTAINER container{};
  QACONTROL control{};
  EXPECT_EQ(quick->QuickActivate(&container, &control), E_UNEXPECTED);
  container.cbSize = sizeof container;
  control.cbSize = sizeof control;
  container.pClientSite = &site;
  container.pUnkEventSink = &m_listener;
  EXPECT_EQ(quick->QuickActivate(&container, &control), S_OK);
  EXPECT_TRUE(control.dwMiscStatus == 131473 && control.dwViewStatus == VIEWSTATUS_OPAQUE);
  EXPECT_EQ(m_embedded.Events()->Unadvise(control.dwEventCookie), S_OK);
  ComPtr<IOleClientSite> found;
  EXPECT_EQ(m_embedded.As<IOleObject>()->GetClientSite(found.Put()), S_OK);
  EXPECT_EQ(found.Get(), &site);
  m_embedded.Leave();
}

}  // namespace
}  // namespace tlk
