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
    points = {static_cast<COLORREF*>(bits), std::size_t{200} * 100};
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

using LookTest = ContainerTest;

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
    if (expected == Canvas()) GTEST_SKIP() << "this system cannot draw into a picture in memory";
    EXPECT_TRUE(canvas == expected) << bounds.left << ", scale " << scale;
  }
}

}  // namespace
}  // namespace tlk
