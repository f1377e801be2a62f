#include "com/Embedding.h"

namespace tlk {

void Embedding::SetSite(IOleClientSite* site) { m_site = ComPtr<IOleClientSite>(site); }

void Embedding::SetExtent(SIZEL extent) {
  if (extent.cx == m_extent.cx && extent.cy == m_extent.cy) return;
  m_extent = extent;
  m_isDirty = true;
  TellViewChanged();
}

void Embedding::Reset() { Restore(kFirstExtent); }

void Embedding::Restore(SIZEL extent) {
  m_extent = extent;
  m_isDirty = false;
}

IOleAdviseHolder* Embedding::Advisees() {
  if (!m_advisees) (void)CreateOleAdviseHolder(m_advisees.Put());
  return m_advisees.Get();
}

IDataAdviseHolder* Embedding::DataAdvisees() {
  if (!m_dataAdvisees) (void)CreateDataAdviseHolder(m_dataAdvisees.Put());
  return m_dataAdvisees.Get();
}

void Embedding::SetViewAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink) {
  m_viewAdvisee = ComPtr<IAdviseSink>(sink);
  m_viewAspects = aspects;
  m_viewFlags = flags;
  if (sink != nullptr && (flags & ADVF_PRIMEFIRST) != 0) TellViewer();
}

void Embedding::GetViewAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) const {
  if (aspects != nullptr) *aspects = m_viewAspects;
  if (flags != nullptr) *flags = m_viewFlags;
  if (sink != nullptr) *sink = ComPtr<IAdviseSink>(m_viewAdvisee).Detach();
}

// A sink may, while it is called, have the control forget it or let go of the control: the local
// references keep what is called alive until it has returned.
void Embedding::TellViewer() {
  const ComPtr<IAdviseSink> viewer = m_viewAdvisee;
  if (!viewer || (m_viewAspects & DVASPECT_CONTENT) == 0) return;
  if ((m_viewFlags & ADVF_ONLYONCE) != 0) m_viewAdvisee = nullptr;
  viewer->OnViewChange(DVASPECT_CONTENT, -1);
}

void Embedding::TellViewChanged() {
  TellViewer();
  const ComPtr<IDataAdviseHolder> dataAdvisees = m_dataAdvisees;
  ComPtr<IDataObject> data;
  if (dataAdvisees && SUCCEEDED(m_control.QueryInterface(IID_IDataObject, data.PutVoid()))) {
    dataAdvisees->SendOnDataChange(data.Get(), 0, 0);
  }
}

void Embedding::TellSaved() {
  const ComPtr<IOleAdviseHolder> advisees = m_advisees;
  if (advisees) advisees->SendOnSave();
}

void Embedding::TellClosed() {
  const ComPtr<IOleAdviseHolder> advisees = m_advisees;
  if (advisees) advisees->SendOnClose();
}

}  // namespace tlk
