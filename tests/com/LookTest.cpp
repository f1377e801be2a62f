#include <algorithm>
#include <vector>

#include "tests/com/ContainerFixture.h"

namespace tlk {
namespace {

using LookTest = ContainerTest;

/// The points of a picture of one colour on which something has been drawn.
template <typename Draw>
std::vector<COLORREF> Drawn(Draw draw) {
  constexpr std::size_t kPoints = std::size_t{200} * 100;
  const HDC device = CreateCompatibleDC(nullptr);
  const BITMAPINFO info{{sizeof info.bmiHeader, 200, -100, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, {}};
  void* bits = nullptr;
  const HBITMAP bitmap = CreateDIBSection(device, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  auto* const first = static_cast<COLORREF*>(bits);
  std::fill_n(first, kPoints, 0x00FF00FF);
  SelectObject(device, bitmap);
  draw(device);
  GdiFlush();
  const std::vector<COLORREF> points(first, first + kPoints);
  DeleteDC(device);
  DeleteObject(bitmap);
  return points;
}

TEST_F(LookTest, DrawsIntoItsBoundsAndNowhereElse) {
  const struct {
    RECTL bounds;
    RECT points;
    int scale = 0;  // of a device that does not count in points
  } cases[] = {{{20, 10, 180, 90}, {20, 10, 180, 90}},
               {{80, 20, 120, 80}, {80, 20, 120, 80}},  // narrower than the text
               {{5, -20, 85, 20}, {20, 10, 180, 90}, 20},
               {{5, -20, 85, 20}, {20, 10, 180, 90}, -20}};  // upside down
  for (const auto& each : cases) {
    const auto& [left, top, right, bottom] = each.points;
    const auto shown = Drawn([&](HDC device) {
      SetMapMode(device, each.scale != 0 ? MM_ANISOTROPIC : MM_TEXT);
      SetWindowExtEx(device, 10, 10, nullptr);
      SetViewportExtEx(device, 20, each.scale, nullptr);
      if (each.scale != 0) SetViewportOrgEx(device, 10, 50, nullptr);
      m_embedded.As<IViewObject>()->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, device,
                                         &each.bounds, nullptr, nullptr, 0);
      POINT corner{each.bounds.left, each.bounds.top};
      LPtoDP(device, &corner, 1);
      EXPECT_TRUE(corner.x == left && corner.y == (each.scale < 0 ? bottom : top));
    });
    const auto expected = Drawn([&](HDC device) {
      IntersectClipRect(device, left, top, right, bottom);
      Rectangle(device, left, top, right, bottom);
      SetTextAlign(device, TA_CENTER | TA_BASELINE);
      TextOutA(device, 100, 50, "ATL 3.0 : Tlkc", 14);
    });
    if (expected == Drawn([](HDC) {})) GTEST_SKIP() << "this system cannot draw into a picture";
    EXPECT_TRUE(shown == expected) << left << ", scale " << each.scale;
  }
}

}  // namespace
}  // namespace tlk
