// Reading the pixels of an X screen's root window, through MIT-SHM when the server shares
// memory with us, with a plain image request otherwise. Everything above this layer sees
// only this small API, never Xlib.
#pragma once

#include "MacTypes.h"

#include <memory>

namespace ScreenCapture {

// Status codes of this service (0 = success).
constexpr OSErr kScreenCaptureNoDisplayErr = -29100;   // no X display could be opened
constexpr OSErr kScreenCaptureNoScreenErr = -29101;    // no such screen on the display
constexpr OSErr kScreenCaptureReadErr = -29102;        // the server refused the read
constexpr OSErr kScreenCaptureNotOpenErr = -29103;

class XScreenReader {
 public:
  XScreenReader();
  ~XScreenReader();
  XScreenReader(XScreenReader const&) = delete;
  XScreenReader& operator=(XScreenReader const&) = delete;

  // displayName null: $DISPLAY. screen -1: the display's default screen. The connection
  // stays open for the next reader of that display while its server lives.
  OSErr Open(char const* displayName = nullptr, int screen = -1);
  void Close();
  bool IsOpen() const;

  // Size of the screen's root window in pixels (0 when not open).
  int Width() const;
  int Height() const;
  // Whether reads go through a shared memory segment.
  bool UsesSharedMemory() const;

  // Reads the rectangle (x, y: its top-left corner, X's coordinates, y down) into dst as
  // 32-bit pixels of the bytes X (unused), R, G, B, rows bottom-up: dst's first row is the
  // rectangle's bottom row. The rectangle must lie inside the screen (paramErr otherwise).
  OSErr ReadRect(int x, int y, int width, int height, void* dst, long dstRowBytes);

  struct Connection;

 private:
  // Shared with later readers of the same display (see Open).
  std::shared_ptr<Connection> mConnection;
};

// Whether an X display can be opened at all (names as for Open).
bool XDisplayAvailable(char const* displayName = nullptr);

}  // namespace ScreenCapture
