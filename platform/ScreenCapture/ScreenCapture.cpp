#include "ScreenCapture.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#if TAVELO_X86_VECTOR
#include <immintrin.h>
#endif
#include <sys/ipc.h>
#include <sys/shm.h>

#include <poll.h>
#include <sys/socket.h>

#include <cstdint>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace ScreenCapture {
namespace {

// Xlib reports protocol errors through one process-wide handler whose default ends the
// program; calls that may fail (attach, read) run with this trap installed instead.
std::mutex sTrapMutex;
int sTrappedError = 0;

int TrapError(Display*, XErrorEvent* event) {
  sTrappedError = event->error_code;
  return 0;
}

class ErrorTrap {
 public:
  explicit ErrorTrap(Display* display) : mLock(sTrapMutex), mDisplay(display) {
    XSync(mDisplay, False);
    sTrappedError = 0;
    mPrevious = XSetErrorHandler(TrapError);
  }
  ~ErrorTrap() { XSetErrorHandler(mPrevious); }
  ErrorTrap(ErrorTrap const&) = delete;
  ErrorTrap& operator=(ErrorTrap const&) = delete;

  bool Failed() {
    XSync(mDisplay, False);
    return sTrappedError != 0;
  }

 private:
  std::lock_guard<std::mutex> mLock;
  Display* mDisplay;
  int (*mPrevious)(Display*, XErrorEvent*) = nullptr;
};

// Where R, G, B and the unused byte sit inside one 4-byte source pixel, when the visual is a
// plain 8-bits-a-channel layout; otherwise pixels go through the masks one by one.
struct ByteLayout {
  bool plain = false;
  int x = 0, r = 1, g = 2, b = 3;
};

int ByteOfMask(unsigned long mask, int byteOrder) {
  for (int shift = 0; shift < 32; shift += 8) {
    if (mask == (0xFFul << shift)) return byteOrder == LSBFirst ? shift / 8 : 3 - shift / 8;
  }
  return -1;
}

ByteLayout LayoutOf(XImage const* image) {
  ByteLayout layout;
  if (image->bits_per_pixel != 32) return layout;
  int const r = ByteOfMask(image->red_mask, image->byte_order);
  int const g = ByteOfMask(image->green_mask, image->byte_order);
  int const b = ByteOfMask(image->blue_mask, image->byte_order);
  if (r < 0 || g < 0 || b < 0 || r == g || g == b || r == b) return layout;
  layout.plain = true;
  layout.r = r;
  layout.g = g;
  layout.b = b;
  layout.x = 6 - r - g - b;  // the one byte left over
  return layout;
}

void ConvertRowScalar(std::uint8_t const* src, std::uint8_t* dst, int width, ByteLayout const& l) {
  for (int i = 0; i < width; ++i, src += 4, dst += 4) {
    std::uint8_t const x = src[l.x], r = src[l.r], g = src[l.g], b = src[l.b];
    dst[0] = x;
    dst[1] = r;
    dst[2] = g;
    dst[3] = b;
  }
}

#if TAVELO_X86_VECTOR
__attribute__((target("ssse3"))) void ConvertRowSSSE3(std::uint8_t const* src, std::uint8_t* dst,
                                                      int width, ByteLayout const& l) {
  auto const c = [](int v) { return static_cast<char>(v); };
  __m128i const order = _mm_setr_epi8(c(l.x), c(l.r), c(l.g), c(l.b), c(l.x + 4), c(l.r + 4),
                                      c(l.g + 4), c(l.b + 4), c(l.x + 8), c(l.r + 8), c(l.g + 8),
                                      c(l.b + 8), c(l.x + 12), c(l.r + 12), c(l.g + 12),
                                      c(l.b + 12));
  int i = 0;
  for (; i + 4 <= width; i += 4) {
    __m128i const v = _mm_loadu_si128(reinterpret_cast<__m128i const*>(src + 4 * i));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 4 * i), _mm_shuffle_epi8(v, order));
  }
  ConvertRowScalar(src + 4 * i, dst + 4 * i, width - i, l);
}

bool HasSSSE3() {
  static bool const has = __builtin_cpu_supports("ssse3");
  return has;
}
#else
// Other processors take the portable loop.
bool HasSSSE3() { return false; }
void ConvertRowSSSE3(std::uint8_t const* src, std::uint8_t* dst, int width, ByteLayout const& l) {
  ConvertRowScalar(src, dst, width, l);
}
#endif

// One channel of a masked pixel scaled to 8 bits.
std::uint8_t Channel(unsigned long pixel, unsigned long mask) {
  if (mask == 0) return 0;
  int shift = 0;
  while (!((mask >> shift) & 1ul)) ++shift;
  unsigned long const max = mask >> shift;
  unsigned long const value = (pixel & mask) >> shift;
  return static_cast<std::uint8_t>((value * 255ul + max / 2) / max);
}

// The image's rows into dst, bottom-up, as X, R, G, B.
void ConvertImage(XImage* image, std::uint8_t* dst, long dstRowBytes) {
  int const width = image->width;
  int const height = image->height;
  ByteLayout const layout = LayoutOf(image);
  for (int r = 0; r < height; ++r) {
    int const srcRow = height - 1 - r;
    std::uint8_t* const out = dst + r * dstRowBytes;
    if (layout.plain) {
      auto const* in = reinterpret_cast<std::uint8_t const*>(image->data) +
                       long(srcRow) * image->bytes_per_line;
      if (HasSSSE3()) ConvertRowSSSE3(in, out, width, layout);
      else ConvertRowScalar(in, out, width, layout);
      continue;
    }
    for (int x = 0; x < width; ++x) {
      unsigned long const pixel = XGetPixel(image, x, srcRow);
      out[4 * x + 0] = 0;
      out[4 * x + 1] = Channel(pixel, image->red_mask);
      out[4 * x + 2] = Channel(pixel, image->green_mask);
      out[4 * x + 3] = Channel(pixel, image->blue_mask);
    }
  }
}

}  // namespace

struct XScreenReader::Connection {
  Display* display = nullptr;
  int screen = 0;
  Window root = 0;
  Visual* visual = nullptr;
  int depth = 0;
  int width = 0;
  int height = 0;
  bool shm = false;
  XShmSegmentInfo shmInfo{};
  XImage* shmImage = nullptr;  // header over the segment for the last read's size
  std::string name;            // the display's name, as the cache knows it

  Connection() {
    shmInfo.shmid = -1;
    shmInfo.shmaddr = reinterpret_cast<char*>(-1);
  }

  ~Connection() {
    DropShm();
    if (display) XCloseDisplay(display);
  }

  void DropShmImage() {
    // A shared-memory image header does not own the segment it points into.
    if (shmImage) XDestroyImage(shmImage);
    shmImage = nullptr;
  }

  void DropShm() {
    DropShmImage();
    if (shm) {
      XShmDetach(display, &shmInfo);
      XSync(display, False);
    }
    if (shmInfo.shmaddr != reinterpret_cast<char*>(-1)) shmdt(shmInfo.shmaddr);
    if (shmInfo.shmid >= 0) shmctl(shmInfo.shmid, IPC_RMID, nullptr);
    shmInfo.shmid = -1;
    shmInfo.shmaddr = reinterpret_cast<char*>(-1);
    shm = false;
  }

  // One segment big enough for the whole screen, shared with the server.
  bool SetUpShm() {
    if (!XShmQueryExtension(display)) return false;
    XImage* probe = XShmCreateImage(display, visual, unsigned(depth), ZPixmap, nullptr, &shmInfo,
                                    unsigned(width), unsigned(height));
    if (!probe) return false;
    std::size_t const bytes = std::size_t(probe->bytes_per_line) * std::size_t(height);
    XDestroyImage(probe);
    shmInfo.shmid = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (shmInfo.shmid < 0) return false;
    shmInfo.shmaddr = static_cast<char*>(shmat(shmInfo.shmid, nullptr, 0));
    if (shmInfo.shmaddr == reinterpret_cast<char*>(-1)) {
      DropShm();
      return false;
    }
    shmInfo.readOnly = False;
    bool attached = false;
    {
      ErrorTrap trap(display);
      attached = XShmAttach(display, &shmInfo) && !trap.Failed();
    }
    // Marked for removal now: it goes away once both sides have let go, even after a crash.
    shmctl(shmInfo.shmid, IPC_RMID, nullptr);
    shmInfo.shmid = -1;
    if (!attached) {
      DropShm();
      return false;
    }
    shm = true;
    return true;
  }
};

namespace {

// A grab opens a reader each time; the connection and its shared segment are kept for the
// next one, since a fresh segment costs the server and us a page fault per 4 KiB on the
// first read. Never destroyed: at exit the server may already be gone, and Xlib ends the
// process on a broken connection.
struct ConnectionCache {
  std::mutex lock;
  std::vector<std::shared_ptr<XScreenReader::Connection>> live;
  std::vector<std::shared_ptr<XScreenReader::Connection>> dead;  // kept, never touched again
};

ConnectionCache& Cache() {
  static ConnectionCache* const cache = new ConnectionCache;
  return *cache;
}

// A server that went away shows as a hang-up or end of file on the socket; anything else
// waiting there is an ordinary event.
bool Alive(Display* display) {
  int const fd = ConnectionNumber(display);
  pollfd p{fd, POLLIN, 0};
  if (::poll(&p, 1, 0) <= 0) return true;
  if (p.revents & (POLLHUP | POLLERR | POLLNVAL)) return false;
  char c;
  return ::recv(fd, &c, 1, MSG_PEEK | MSG_DONTWAIT) != 0;
}

}  // namespace

XScreenReader::XScreenReader() = default;
XScreenReader::~XScreenReader() = default;

OSErr XScreenReader::Open(char const* displayName, int screen) {
  Close();
  std::string const name = XDisplayName(displayName);
  {
    ConnectionCache& cache = Cache();
    std::lock_guard<std::mutex> guard(cache.lock);
    for (auto it = cache.live.begin(); it != cache.live.end();) {
      if (!Alive((*it)->display)) {
        cache.dead.push_back(*it);
        it = cache.live.erase(it);
        continue;
      }
      if ((*it)->name == name && (screen < 0 || (*it)->screen == screen)) {
        mConnection = *it;
        return noErr;
      }
      ++it;
    }
  }
  auto c = std::make_shared<Connection>();
  c->name = name;
  c->display = XOpenDisplay(displayName);
  if (!c->display) return kScreenCaptureNoDisplayErr;
  if (screen < 0) screen = DefaultScreen(c->display);
  if (screen >= ScreenCount(c->display)) return kScreenCaptureNoScreenErr;
  c->screen = screen;
  c->root = RootWindow(c->display, screen);
  c->visual = DefaultVisual(c->display, screen);
  c->depth = DefaultDepth(c->display, screen);
  c->width = DisplayWidth(c->display, screen);
  c->height = DisplayHeight(c->display, screen);
  // Without shared memory (a remote display) reads still work, through the socket.
  c->SetUpShm();
  mConnection = c;
  ConnectionCache& cache = Cache();
  std::lock_guard<std::mutex> guard(cache.lock);
  cache.live.push_back(std::move(c));
  return noErr;
}

void XScreenReader::Close() { mConnection.reset(); }

bool XScreenReader::IsOpen() const { return mConnection != nullptr; }
int XScreenReader::Width() const { return mConnection ? mConnection->width : 0; }
int XScreenReader::Height() const { return mConnection ? mConnection->height : 0; }
bool XScreenReader::UsesSharedMemory() const { return mConnection && mConnection->shm; }

OSErr XScreenReader::ReadRect(int x, int y, int width, int height, void* dst, long dstRowBytes) {
  if (!mConnection) return kScreenCaptureNotOpenErr;
  Connection& c = *mConnection;
  if (!dst || width <= 0 || height <= 0 || x < 0 || y < 0 || x + width > c.width ||
      y + height > c.height || dstRowBytes < long(width) * 4)
    return paramErr;
  auto* const out = static_cast<std::uint8_t*>(dst);

  if (c.shm) {
    if (c.shmImage && (c.shmImage->width != width || c.shmImage->height != height))
      c.DropShmImage();
    if (!c.shmImage) {
      c.shmImage = XShmCreateImage(c.display, c.visual, unsigned(c.depth), ZPixmap,
                                   c.shmInfo.shmaddr, &c.shmInfo, unsigned(width),
                                   unsigned(height));
      if (!c.shmImage) return kScreenCaptureReadErr;
    }
    bool read = false;
    {
      ErrorTrap trap(c.display);
      read = XShmGetImage(c.display, c.root, c.shmImage, x, y, AllPlanes) && !trap.Failed();
    }
    if (!read) return kScreenCaptureReadErr;
    ConvertImage(c.shmImage, out, dstRowBytes);
    return noErr;
  }

  XImage* image = nullptr;
  {
    ErrorTrap trap(c.display);
    image = XGetImage(c.display, c.root, x, y, unsigned(width), unsigned(height), AllPlanes,
                      ZPixmap);
    if (trap.Failed() && image) {
      XDestroyImage(image);
      image = nullptr;
    }
  }
  if (!image) return kScreenCaptureReadErr;
  ConvertImage(image, out, dstRowBytes);
  XDestroyImage(image);
  return noErr;
}

bool XDisplayAvailable(char const* displayName) {
  Display* display = XOpenDisplay(displayName);
  if (!display) return false;
  XCloseDisplay(display);
  return true;
}

}  // namespace ScreenCapture
