#include "com/Persistence.h"

#include <TlkC2.h>

#include <cstdint>
#include <utility>

#include "platform/windows/ComPtr.h"

namespace tlk {
namespace {

constexpr std::int32_t kVersion = 1;
constexpr const wchar_t* kStreamName = L"Contents";

struct Saved {
  std::int32_t version;
  std::int32_t width;
  std::int32_t height;
};
static_assert(sizeof(Saved) == 12);

bool IsOurs(const Saved& saved) {
  return saved.version == kVersion && saved.width >= 0 && saved.height >= 0;
}

}  // namespace

STDMETHODIMP StreamPersistence::GetClassID(CLSID* id) {
  if (id == nullptr) return E_POINTER;
  *id = CLSID_Tlkc;
  return S_OK;
}

STDMETHODIMP StreamPersistence::IsDirty() { return m_embedding.IsDirty() ? S_OK : S_FALSE; }

STDMETHODIMP StreamPersistence::Load(IStream* stream) {
  if (stream == nullptr) return E_POINTER;
  Saved saved{};
  ULONG read = 0;
  const HRESULT result = stream->Read(&saved, sizeof saved, &read);
  if (FAILED(result)) return result;
  if (read != sizeof saved || !IsOurs(saved)) return STG_E_OLDFORMAT;
  m_embedding.Restore({saved.width, saved.height});
  return S_OK;
}

STDMETHODIMP StreamPersistence::Save(IStream* stream, BOOL clearDirty) {
  if (stream == nullptr) return E_POINTER;
  const SIZEL extent = m_embedding.Extent();
  const Saved saved{kVersion, extent.cx, extent.cy};
  ULONG written = 0;
  const HRESULT result = stream->Write(&saved, sizeof saved, &written);
  if (FAILED(result)) return result;
  if (written != sizeof saved) return STG_E_MEDIUMFULL;
  if (clearDirty) m_embedding.MarkClean();
  return S_OK;
}

STDMETHODIMP StreamPersistence::GetSizeMax(ULARGE_INTEGER* size) {
  if (size == nullptr) return E_POINTER;
  size->QuadPart = sizeof(Saved);
  return S_OK;
}

STDMETHODIMP StreamPersistence::InitNew() {
  m_embedding.Reset();
  return S_OK;
}

STDMETHODIMP StoragePersistence::GetClassID(CLSID* id) { return m_stream.GetClassID(id); }
STDMETHODIMP StoragePersistence::IsDirty() { return m_stream.IsDirty(); }
STDMETHODIMP StoragePersistence::InitNew(IStorage*) { return m_stream.InitNew(); }

STDMETHODIMP StoragePersistence::Load(IStorage* storage) {
  if (storage == nullptr) return E_POINTER;
  ComPtr<IStream> stream;
  const HRESULT opened =
      storage->OpenStream(kStreamName, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.Put());
  return SUCCEEDED(opened) ? m_stream.Load(stream.Get()) : opened;
}

STDMETHODIMP StoragePersistence::Save(IStorage* storage, BOOL sameAsLoad) {
  if (storage == nullptr) return E_POINTER;
  ComPtr<IStream> stream;
  constexpr DWORD kMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_CREATE;
  const HRESULT made = storage->CreateStream(kStreamName, kMode, 0, 0, stream.Put());
  if (FAILED(made)) return made;
  const HRESULT saved = m_stream.Save(stream.Get(), sameAsLoad);
  m_hasSaved = SUCCEEDED(saved);
  return saved;
}

// Without a storage, what was saved is a copy, and the control has as much to save as before.
STDMETHODIMP StoragePersistence::SaveCompleted(IStorage* storage) {
  if (std::exchange(m_hasSaved, false) && storage != nullptr) m_embedding.MarkClean();
  m_embedding.TellSaved();
  return S_OK;
}

STDMETHODIMP StoragePersistence::HandsOffStorage() { return S_OK; }

}  // namespace tlk
