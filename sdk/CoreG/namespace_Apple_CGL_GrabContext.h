// A full-screen read context on one display. Here the display's front buffer is the X
// screen's root window, read through shared memory; where no X screen shows our windows
// (Wayland, the offscreen platform) a registered provider gives the windows' own pixels.
// Under Wayland a grab of one view skips the context: see ScreenIsPrivate.
#pragma once

#include "namespace_OpenGL_ReadPixels.h"

#include <QImage>
#include <QRect>

#include <cstdint>
#include <functional>
#include <memory>

#include "MacTypes.h"

// A display's number: the index of its screen among the application's screens. Without a
// GUI application, 0 is the whole default X screen.
using CGDirectDisplayID = std::uint32_t;
CGDirectDisplayID CGMainDisplayID();

namespace Apple_CGL {

namespace ReadPixels = ::OpenGL::ReadPixels;

class GrabContext {
 public:
  GrabContext();
  explicit GrabContext(CGDirectDisplayID displayID);
  ~GrabContext();
  GrabContext(GrabContext const&) = delete;
  GrabContext& operator=(GrabContext const&) = delete;

  bool Construct(CGDirectDisplayID displayID);
  bool Construct();
  // On: this context receives the viewport and read calls below. Off: none does.
  bool MakeCurrent(bool fullScreen);
  void Destruct();
  bool IsValid() const { return mContext != nullptr; }

  // Whether the pixels come from the X screen (false: from the fallback provider).
  bool ReadsXScreen() const;
  // Whether the display server lets no client read the screen (Wayland): a grab of a view
  // then takes the picture the view itself draws.
  static bool ScreenIsPrivate();

  // The pixels of a display when no X screen can be read: an image of the display's size,
  // y down, showing our windows where they are. Null function: no fallback.
  using FallbackProvider = std::function<QImage(CGDirectDisplayID)>;
  static void SetFallbackProvider(FallbackProvider provider);

  struct Context;

 private:
  std::unique_ptr<Context> mContext;
};

// What the current context reads, in the terms of the GL read-back: the viewport is
// (0, 0, display width, display height); all zero without a current context.
void glGetViewport(int viewport[4]);
// Rows from the bottom-left (x, y) of the display, into dst as X, R, G, B bytes per pixel,
// rows bottom-up. Status 0 on success.
OSErr glReadFrontBuffer(int x, int y, int width, int height, void* dst, long dstRowBytes);

}  // namespace Apple_CGL
