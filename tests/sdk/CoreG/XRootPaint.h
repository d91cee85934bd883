// Drawing on an X server's root window, kept apart from test code (Xlib's macros clash
// with GoogleTest's names).
#pragma once

#include <string>
#include <vector>

namespace tavelo_test {

struct RootFill {
  unsigned long rgb;  // 0xRRGGBB
  int left, top, width, height;
};

// Fills the rectangles in order and waits until the server has drawn them.
bool PaintRootWindow(std::string const& displayName, std::vector<RootFill> const& fills);

}  // namespace tavelo_test
