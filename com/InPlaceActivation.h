#pragma once

#include <ocidl.h>
#include <oleidl.h>

#include "com/Embedding.h"
#include "com/InPlaceWindow.h"

namespace tlk {

/// How far the control is active in the container's window: not at all, and without a window of its
/// own; in place, with one; or UI active, when it has the user's attention as well.
///
/// Every step asks or tells the site in the order in which containers expect it. A site may end the
/// control's activity from inside any of these calls.
class InPlaceActivation final : private WindowOwner {
 public:
  InPlaceActivation(IUnknown& control, Embedding& embedding, WindowsControlWindow& port)
      : m_control(control), m_embedding(embedding), m_window(control, port, *this) {}

  InPlaceActivation(const InPlaceActivation&) = delete;
  InPlaceActivation& operator=(const InPlaceActivation&) = delete;

  /// Activates the control in place, shows its window, and activates its user interface too when
  /// that is wanted. Fails when there is no site, or the site refuses; one that only refuses the
  /// user interface leaves the control active in place.
  [[nodiscard]] HRESULT Activate(bool withInterface);
  void DeactivateInterface();
  void Deactivate();

  void Hide();

  /// Moves the window; S_OK also when there is none yet.
  HRESULT SetObjectRects(const RECT& position, const RECT& clip);

  [[nodiscard]] HWND Window() const { return m_window.Handle(); }

  /// Asks the container whether it wants a key: S_OK when it has used it, S_FALSE when not.
  [[nodiscard]] HRESULT OfferKey(MSG* key);

 private:
  struct Place;

  [[nodiscard]] HRESULT EnterPlace();
  [[nodiscard]] HRESULT AskForPlace(Place& place) const;
  [[nodiscard]] HRESULT ShowWindowAt(Place& place);
  [[nodiscard]] ComPtr<IOleInPlaceSite> LeavePlace();

  [[nodiscard]] HRESULT ActivateInterface();
  void TakeBorders(const ComPtr<IOleInPlaceUIWindow>& window, IOleInPlaceActiveObject* active);

  void OnFocus(bool gained) override;
  void OnUsed() override;

  IUnknown& m_control;
  Embedding& m_embedding;
  InPlaceWindow m_window;
  ComPtr<IOleInPlaceSite> m_site;
  ComPtr<IOleInPlaceFrame> m_frame;
  ComPtr<IOleInPlaceUIWindow> m_document;
  bool m_isActive = false;
  bool m_isInterfaceActive = false;
};

}  // namespace tlk
