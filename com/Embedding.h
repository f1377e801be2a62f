#pragma once

#include <ocidl.h>
#include <oleidl.h>

#include "platform/windows/ComPtr.h"

namespace tlk {

/// What the control knows about its place in a container, apart from being active in it: the site,
/// its size, whether there is something to save, and who wants to hear of what.
///
/// Sizes are in hundredths of a millimetre. Apartment-bound like the control.
class Embedding {
 public:
  explicit Embedding(IUnknown& control) : m_control(control) {}

  Embedding(const Embedding&) = delete;
  Embedding& operator=(const Embedding&) = delete;

  void SetSite(IOleClientSite* site);
  [[nodiscard]] const ComPtr<IOleClientSite>& Site() const { return m_site; }

  /// Another interface of the site; none when there is no site, or it has none such.
  template <typename Interface>
  [[nodiscard]] ComPtr<Interface> SiteAs() const {
    ComPtr<Interface> other;
    if (m_site) (void)m_site.QueryTo(other);
    return other;
  }

  [[nodiscard]] SIZEL Extent() const { return m_extent; }
  void SetExtent(SIZEL extent);
  /// Takes the size of a new control. There is nothing to save then.
  void Reset();
  /// Takes the size that was loaded. There is nothing to save then.
  void Restore(SIZEL extent);

  [[nodiscard]] bool IsDirty() const { return m_isDirty; }
  void MarkClean() { m_isDirty = false; }

  /// The holders of the advisory connections, made on first use; none when memory is short.
  [[nodiscard]] IOleAdviseHolder* Advisees();
  [[nodiscard]] IDataAdviseHolder* DataAdvisees();

  /// The one advisory connection of the view.
  void SetViewAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink);
  void GetViewAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) const;

  void TellViewChanged();
  void TellSaved();
  void TellClosed();

 private:
  void TellViewer();

  static constexpr SIZEL kFirstExtent{5080, 5080};  // two inches

  IUnknown& m_control;
  ComPtr<IOleClientSite> m_site;
  SIZEL m_extent = kFirstExtent;
  bool m_isDirty = false;
  ComPtr<IOleAdviseHolder> m_advisees;
  ComPtr<IDataAdviseHolder> m_dataAdvisees;
  ComPtr<IAdviseSink> m_viewAdvisee;
  DWORD m_viewAspects = 0;
  DWORD m_viewFlags = 0;
};

}  // namespace tlk
