#pragma once

#include <windows.h>

namespace tlk {

/// Draws the control's face into a rectangle of device units: a frame over the whole of it, and its
/// name in the middle. The device context is left as it was.
void DrawFace(HDC device, const RECT& bounds);

}  // namespace tlk
