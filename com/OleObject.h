#pragma once

#include <oleidl.h>

#include "com/Embedding.h"
#include "com/InPlaceActivation.h"
#include "com/Part.h"

namespace tlk {

/// Flags of the control, as they are registered too.
inline constexpr DWORD kMiscStatus = 131473;
static_assert(kMiscStatus ==
              (OLEMISC_RECOMPOSEONRESIZE | OLEMISC_CANTLINKINSIDE | OLEMISC_INSIDEOUT |
               OLEMISC_ACTIVATEWHENVISIBLE | OLEMISC_SETCLIENTSITEFIRST));

/// The control as an object embedded in a container.
class OleObject final : public Part<IOleObject> {
 public:
  OleObject(IUnknown& controller, Embedding& embedding, InPlaceActivation& activation)
      : Part(controller), m_embedding(embedding), m_activation(activation) {}

  /// A control that is active leaves its old site first, and tells it so.
  STDMETHODIMP SetClientSite(IOleClientSite* site) override;
  STDMETHODIMP GetClientSite(IOleClientSite** site) override;
  STDMETHODIMP SetHostNames(LPCOLESTR application, LPCOLESTR document) override;
  STDMETHODIMP Close(DWORD saveOption) override;
  STDMETHODIMP SetMoniker(DWORD which, IMoniker* moniker) override;
  STDMETHODIMP GetMoniker(DWORD assign, DWORD which, IMoniker** moniker) override;
  STDMETHODIMP InitFromData(IDataObject* data, BOOL isCreation, DWORD reserved) override;
  STDMETHODIMP GetClipboardData(DWORD reserved, IDataObject** data) override;
  STDMETHODIMP DoVerb(LONG verb, LPMSG message, IOleClientSite* activeSite, LONG index, HWND parent,
                      LPCRECT position) override;
  STDMETHODIMP EnumVerbs(IEnumOLEVERB** verbs) override;
  STDMETHODIMP Update() override;
  STDMETHODIMP IsUpToDate() override;
  STDMETHODIMP GetUserClassID(CLSID* id) override;
  STDMETHODIMP GetUserType(DWORD form, LPOLESTR* name) override;
  STDMETHODIMP SetExtent(DWORD aspect, SIZEL* extent) override;
  STDMETHODIMP GetExtent(DWORD aspect, SIZEL* extent) override;
  STDMETHODIMP Advise(IAdviseSink* sink, DWORD* cookie) override;
  STDMETHODIMP Unadvise(DWORD cookie) override;
  STDMETHODIMP EnumAdvise(IEnumSTATDATA** advisees) override;
  STDMETHODIMP GetMiscStatus(DWORD aspect, DWORD* status) override;
  STDMETHODIMP SetColorScheme(LOGPALETTE* palette) override;

 private:
  HRESULT DoUnknownVerb();
  void SaveIfAsked(DWORD saveOption);

  Embedding& m_embedding;
  InPlaceActivation& m_activation;
};

}  // namespace tlk
