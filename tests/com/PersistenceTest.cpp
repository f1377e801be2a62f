#include "tests/com/ContainerFixture.h"

#include <shlwapi.h>

#include <vector>

namespace tlk {
namespace {

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
  EXPECT_EQ(storage->Load(file.Get()), STG_E_FILENOTFOUND);
  EXPECT_EQ(stream->IsDirty(), S_FALSE);
  SIZEL extent{9, 9};
  ASSERT_EQ(object->SetExtent(DVASPECT_CONTENT, &extent), S_OK);
  ASSERT_EQ(storage->Save(file.Get(), FALSE), S_OK);
  EXPECT_EQ(storage->SaveCompleted(file.Get()), S_OK);
  EXPECT_EQ(stream->IsDirty(), S_FALSE) << "the storage is now its own";
  extent = {1234, 567};
  ASSERT_EQ(object->SetExtent(DVASPECT_CONTENT, &extent), S_OK);
  EXPECT_EQ(storage->SaveCompleted(file.Get()), S_OK) << "nothing was saved";
  ASSERT_EQ(storage->Save(file.Get(), FALSE), S_OK);
  EXPECT_EQ(storage->SaveCompleted(nullptr), S_OK);
  EXPECT_EQ(stream->IsDirty(), S_OK) << "that was a copy";
  ASSERT_EQ(stream->Save(saved.Get(), TRUE), S_OK);
  EXPECT_EQ(stream->IsDirty(), S_FALSE);
  ASSERT_EQ(saved->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
  const std::vector<BYTE> smallest{1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(stream->Load(Stream(smallest).Get()), S_OK);
  for (const bool fromStream : {true, false}) {
    EXPECT_EQ(stream->InitNew(), S_OK);
    EXPECT_EQ(fromStream ? stream->Load(saved.Get()) : storage->Load(file.Get()), S_OK);
    for (const std::vector<BYTE>& foreign :
         std::vector<std::vector<BYTE>>{{1, 0, 0, 0, 9, 0, 0, 0, 9, 0, 0},
                                        std::vector<BYTE>(12, 2),
                                        {1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 9, 0, 0, 0},
                                        {1, 0, 0, 0, 9, 0, 0, 0, 0, 0, 0, 0x80}}) {
      EXPECT_EQ(stream->Load(Stream(foreign).Get()), STG_E_OLDFORMAT);
    }
    EXPECT_EQ(object->GetExtent(DVASPECT_CONTENT, &extent), S_OK);
    EXPECT_TRUE(extent.cx == 1234 && extent.cy == 567);
  }
}

}  // namespace
}  // namespace tlk
