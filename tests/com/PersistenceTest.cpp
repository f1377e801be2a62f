#include "tests/com/ContainerFixture.h"

#include <shlwapi.h>

#include <vector>

namespace tlk {

using PersistenceTest = ContainerTest;

ComPtr<IStream> Stream(const std::vector<BYTE>& bytes) {
  ComPtr<IStream> stream;
  stream.Attach(SHCreateMemStream(bytes.data(), static_cast<UINT>(bytes.size())));
  return stream;
}

TEST_F(PersistenceTest, ComesBackInItsSizeAndFromNothingElse) {
  const auto object = m_embedded.As<IOleObject>();
  const auto stream = m_embedded.As<IPersistStreamInit>();
  const auto storage = m_embedded.As<IPersistStorage>();
  const auto saved = Stream({});
  ComPtr<IStorage> file;
  const DWORD mode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_DELETEONRELEASE;
  ASSERT_EQ(StgCreateDocfile(nullptr, mode, 0, file.Put()), S_OK);
  const auto resize = [&](SIZEL extent) { return object->SetExtent(DVASPECT_CONTENT, &extent); };
  const std::pair<HRESULT, HRESULT> calls[] = {
      {storage->Load(file.Get()), STG_E_FILENOTFOUND},
      {stream->IsDirty(), S_FALSE},
      {resize({9, 9}), S_OK},
      {storage->Save(file.Get(), FALSE), S_OK},
      {storage->SaveCompleted(file.Get()), S_OK},
      {stream->IsDirty(), S_FALSE},  // The storage is now its own.
      {resize({1234, 567}), S_OK},
      {storage->SaveCompleted(file.Get()), S_OK},  // Nothing was saved,
      {storage->Save(file.Get(), FALSE), S_OK},
      {storage->SaveCompleted(nullptr), S_OK},  // that was a copy,
      {stream->IsDirty(), S_OK},                // and both are still to be saved.
      {stream->Save(saved.Get(), TRUE), S_OK},
      {stream->IsDirty(), S_FALSE},
      {saved->Seek({}, STREAM_SEEK_SET, nullptr), S_OK},
      {stream->Load(saved.Get()), S_OK},
      {stream->Load(Stream({1, 0, 0, 0, 9, 0, 0, 0, 9, 0, 0}).Get()), STG_E_OLDFORMAT},
      {stream->Load(Stream({2, 0, 0, 0, 9, 0, 0, 0, 9, 0, 0, 0}).Get()), STG_E_OLDFORMAT},
      {stream->Load(Stream({1, 0, 0, 0, 9, 0, 0, 128, 9, 0, 0, 0}).Get()), STG_E_OLDFORMAT},
      {stream->Load(Stream({1, 0, 0, 0, 9, 0, 0, 0, 0, 0, 0, 128}).Get()), STG_E_OLDFORMAT}};
  for (int row = 1; const auto& [result, expected] : calls) EXPECT_EQ(result, expected) << row++;
  for (const bool fromStorage : {false, true}) {
    SIZEL extent{};
    EXPECT_EQ(fromStorage ? storage->Load(file.Get()) : S_OK, S_OK);
    EXPECT_EQ(object->GetExtent(DVASPECT_CONTENT, &extent), S_OK);
    EXPECT_TRUE(extent.cx == 1234 && extent.cy == 567);
    EXPECT_EQ(stream->InitNew(), S_OK);
  }
}

}  // namespace tlk
