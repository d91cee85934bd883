#include "XRootPaint.h"

#include <X11/Xlib.h>

namespace tavelo_test {

bool PaintRootWindow(std::string const& displayName, std::vector<RootFill> const& fills) {
  Display* x = XOpenDisplay(displayName.c_str());
  if (!x) return false;
  Window const root = DefaultRootWindow(x);
  GC gc = XCreateGC(x, root, 0, nullptr);
  for (RootFill const& f : fills) {
    XSetForeground(x, gc, f.rgb);
    XFillRectangle(x, root, gc, f.left, f.top, unsigned(f.width), unsigned(f.height));
  }
  XFreeGC(x, gc);
  XSync(x, False);
  XCloseDisplay(x);
  return true;
}

}  // namespace tavelo_test
