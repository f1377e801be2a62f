#include "tests/com/ContainerFixture.h"

#include <algorithm>
#include <span>

namespace tlk {
namespace {

/// A picture in memory, of one colour at first, to be drawn on.
struct Canvas {
  Canvas() {
    const BITMAPINFO info{{sizeof info.bmiHeader, 200, -100, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, {}};
    void* bits = nullptr;
    bitmap = CreateDIBSection(device, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    points = {static_cast<COLORREF*>(bits), 200 * 100};
    std::ranges::fill(points, 0x00FF00FF);
    SelectObject(device, bitmap);
  }
  ~Canvas() {
    DeleteDC(device);
    DeleteObject(bitmap);
  }
  bool operator==(const Canvas& other) const { return std::ranges::equal(points, other.points); }

  const HDC device = CreateCompatibleDC(nullptr);
  HBITMAP bitmap = nullptr;
  std::span<COLORREF> points;
};

class LookTest : public EmbeddedTest {
 protected:
  void SetUp() override {
    const Canvas canvas;
    SetPixel(canvas.device, 1, 1, 0);
    GdiFlush();
    if (canvas == Canvas()) GTEST_SKIP() << "this system cannot draw into a picture in memory";
  }
};

TEST_F(LookTest, DrawsIntoItsBoundsAndNowhereElse) {
  const struct {
    RECTL bounds;
    RECT points;
    int scale = 0;  // of a device that does not count in points
  } cases[] = {{{20, 10, 180, 90}, {20, 10, 180, 90}},
               {{80, 20, 120, 80}, {80, 20, 120, 80}},  // narrower than the text
               {{5, -20, 85, 20}, {20, 10, 180, 90}, 20},
               {{5, -20, 85, 20}, {20, 10, 180, 90}, -20}};  // upside down
  for (const auto& [bounds, points, scale] : cases) {
    const Canvas canvas;
    SetMapMode(canvas.device, scale != 0 ? MM_ANISOTROPIC : MM_TEXT);
    SetWindowExtEx(canvas.device, 10, 10, nullptr);
    SetViewportExtEx(canvas.device, 20, scale, nullptr);
    if (scale != 0) SetViewportOrgEx(canvas.device, 10, 50, nullptr);
    m_embedded.As<IViewObject>()->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr,
                                       canvas.device, &bounds, nullptr, nullptr, 0);
    POINT corner{bounds.left, bounds.top};
    LPtoDP(canvas.device, &corner, 1);
    EXPECT_TRUE(corner.x == points.left && corner.y == (scale < 0 ? points.bottom : points.top));

    const Canvas expected;
    IntersectClipRect(expected.device, points.left, points.top, points.right, points.bottom);
    Rectangle(expected.device, points.left, points.top, points.right, points.bottom);
    SetTextAlign(expected.device, 30);
    TextOutA(expected.device, 100, 50, "ATL 3.0 : Tlkc", 14);
    GdiFlush();
    EXPECT_TRUE(canvas == expected) << bounds.left << ", scale " << scale;
  }
}

TEST_F(LookTest, GivesAPictureOfItself) {
  FORMATETC format{CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT};
  STGMEDIUM medium{};
  ASSERT_EQ(m_embedded.As<IDataObject>()->GetData(&format, &medium), S_OK);
  const auto& picture = *static_cast<const METAFILEPICT*>(GlobalLock(medium.hMetaFilePict));
  EXPECT_TRUE(picture.mm == MM_ANISOTROPIC && picture.xExt == 5080 && picture.yExt == 5080);
  const Canvas canvas;
  SetMapMode(canvas.device, picture.mm);
  SetViewportExtEx(canvas.device, 160, 80, nullptr);
  EXPECT_TRUE(PlayMetaFile(canvas.device, picture.hMF));
  SetMapMode(canvas.device, MM_TEXT);
  const int corners[][3] = {{0, 0, 0}, {159, 79, 0}, {10, 10, 0xFFFFFF}, {160, 80, 0xFF00FF}};
  for (const auto& [x, y, colour] : corners) {
    EXPECT_EQ(GetPixel(canvas.device, x, y), static_cast<COLORREF>(colour)) << x << ", " << y;
  }
  GlobalUnlock(medium.hMetaFilePict);
  ReleaseStgMedium(&medium);
}

}  // namespace
}  // namespace tlk
