#include "com/Face.h"

#include <string_view>

namespace tlk {

void DrawFace(HDC device, const RECT& bounds) {
  // The framework's own text, which hosts have always seen in an empty control.
  constexpr std::string_view kText = "ATL 3.0 : Tlkc";

  const UINT before = SetTextAlign(device, TA_CENTER | TA_BASELINE);
  Rectangle(device, bounds.left, bounds.top, bounds.right, bounds.bottom);
  TextOutA(device, (bounds.left + bounds.right) / 2, (bounds.top + bounds.bottom) / 2, kText.data(),
           static_cast<int>(kText.size()));
  SetTextAlign(device, before);
}

}  // namespace tlk
