#include "tests/com/ContainerFixture.h"

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
struct Outer final : public IUnknown {
  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    if (iid != IID_IUnknown) return inner->QueryInterface(iid, object);
    *object = this;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
  STDMETHODIMP_(ULONG) Release() override { return --references; }

  ULONG references = 1;
  ComPtr<IUnknown> inner;
};

using IdentityTest = ContainerTest;

// From each interface to each other, and from there back to the one identity.
void ExpectOneObject(IUnknown& identity) {
  for (const IID& from : kInterfaces) {
    ComPtr<IUnknown> start;
    ASSERT_EQ(identity.QueryInterface(from, start.PutVoid()), S_OK) << from.Data1;
    for (const IID& to : kInterfaces) {
      ComPtr<IUnknown> end;
      ComPtr<IUnknown> same;
      ASSERT_EQ(start->QueryInterface(to, end.PutVoid()), S_OK) << from.Data1 << " " << to.Data1;
      ASSERT_EQ(end->QueryInterface(IID_IUnknown, same.PutVoid()), S_OK);
      EXPECT_EQ(same.Get(), &identity) << from.Data1 << " " << to.Data1;
    }
    ComPtr<IUnknown> none;
    EXPECT_EQ(start->QueryInterface(DIID__ITlkcEvents, none.PutVoid()), E_NOINTERFACE);
  }
}

TEST_F(IdentityTest, APlainControlIsOneObject) {
  const ComPtr<IUnknown> control = Create(m_module);
  ExpectOneObject(*control.Get());
  EXPECT_EQ(control->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(IdentityTest, AnAggregatedControlIsAPartOfItsOuterObject) {
  Outer outer;
  outer.inner = Create(m_module, &outer);
  ExpectOneObject(outer);
  EXPECT_EQ(outer.references, 1U);
  ComPtr<IConnectionPointContainer> container;
  ComPtr<IConnectionPoint> point;
  ComPtr<IUnknown> identity;
  ASSERT_EQ(outer.QueryInterface(IID_IConnectionPointContainer, container.PutVoid()), S_OK);
  ASSERT_EQ(container->FindConnectionPoint(DIID__ITlkcEvents, point.Put()), S_OK);
  EXPECT_EQ(outer.references, 3U) << "a point holds the whole";
  EXPECT_EQ(point.QueryTo(identity), S_OK);
  EXPECT_NE(identity.Get(), &outer) << "but is an object of its own";
  EXPECT_EQ(outer.inner->QueryInterface(IID_IUnknown, identity.PutVoid()), S_OK);
  EXPECT_EQ(identity.Get(), outer.inner.Get()) << "the outer object's own reference";
}

TEST_F(IdentityTest, SaysWhatItIsAndWhatItDoesNotDo) {
  const Embedded embedded(m_module, m_window);
  const auto data = embedded.As<IDataObject>();
  const auto info = embedded.As<IProvideClassInfo2>();
  FORMATETC text{CF_TEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
  FORMATETC icon{CF_METAFILEPICT, nullptr, DVASPECT_ICON, -1, TYMED_MFPICT};
  IAdviseSink* const sink = const_cast<Site*>(&embedded.site);
  STGMEDIUM medium{};
  DWORD status = 0;
  DWORD cookie = 0;
  GUID events{};
  CAUUID pages{9, nullptr};
  QACONTAINER container{};
  QACONTROL quick{};
  ComPtr<ITypeInfo> type;
  const std::pair<HRESULT, HRESULT> cases[] = {
      {info->GetGUID(7, &events), E_INVALIDARG},
      {info->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &events), S_OK},
      {info->GetClassInfo(type.Put()), S_OK},
      {embedded.As<ISpecifyPropertyPages>()->GetPages(&pages), S_OK},
      {embedded.As<IQuickActivate>()->QuickActivate(&container, &quick), E_UNEXPECTED},  // no size
      {embedded.As<IOleObject>()->GetMiscStatus(DVASPECT_CONTENT, &status), S_OK},
      {embedded.As<IOleObject>()->Unadvise(99), OLE_E_NOCONNECTION},
      {embedded.As<IViewObject>()->SetAdvise(DVASPECT_ICON, 0, sink), DV_E_DVASPECT},
      {data->GetData(&text, &medium), DV_E_FORMATETC},
      {data->GetData(&icon, &medium), DV_E_DVASPECT},
      {data->SetData(&text, &medium, FALSE), E_NOTIMPL},
      {data->DAdvise(&text, 0, sink, &cookie), DV_E_FORMATETC}};
  int number = 0;
  for (const auto& [result, expected] : cases) EXPECT_EQ(result, expected) << "case " << number++;
  EXPECT_TRUE(events == DIID__ITlkcEvents && pages.cElems == 0 && status == 131473);
}

}  // namespace
}  // namespace tlk
