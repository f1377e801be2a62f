#pragma once

#include <objidl.h>
#include <ocidl.h>

#include "com/Embedding.h"
#include "com/Part.h"

namespace tlk {

/// Saves and loads the control in a stream: a format version, then its width and height, each in
/// four bytes, the low one first.
class StreamPersistence final : public Part<IPersistStreamInit> {
 public:
  StreamPersistence(IUnknown& controller, Embedding& embedding)
      : Part(controller), m_embedding(embedding) {}

  STDMETHODIMP GetClassID(CLSID* id) override;
  STDMETHODIMP IsDirty() override;
  /// A stream that is too short, or of another version, changes nothing.
  STDMETHODIMP Load(IStream* stream) override;
  STDMETHODIMP Save(IStream* stream, BOOL clearDirty) override;
  STDMETHODIMP GetSizeMax(ULARGE_INTEGER* size) override;
  STDMETHODIMP InitNew() override;

 private:
  Embedding& m_embedding;
};

/// The same in a stream of its own, "Contents", of a storage. It never keeps the storage.
class StoragePersistence final : public Part<IPersistStorage> {
 public:
  StoragePersistence(IUnknown& controller, Embedding& embedding, StreamPersistence& stream)
      : Part(controller), m_embedding(embedding), m_stream(stream) {}

  STDMETHODIMP GetClassID(CLSID* id) override;
  STDMETHODIMP IsDirty() override;
  STDMETHODIMP InitNew(IStorage* storage) override;
  STDMETHODIMP Load(IStorage* storage) override;
  /// With `sameAsLoad` nothing is left to save. Without, what was saved may be a copy: something is
  /// left to save until `SaveCompleted` names the storage that is the control's own from then on.
  STDMETHODIMP Save(IStorage* storage, BOOL sameAsLoad) override;
  STDMETHODIMP SaveCompleted(IStorage* storage) override;
  STDMETHODIMP HandsOffStorage() override;

 private:
  Embedding& m_embedding;
  StreamPersistence& m_stream;
  bool m_hasSaved = false;  // since it was last told that saving is completed
};

}  // namespace tlk
