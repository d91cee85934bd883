#include "namespace_Apple_CGL_GrabContext.h"

#include "CoreMachDebugLog.h"
#include "ScreenCapture.h"

#include <QGuiApplication>
#include <QScreen>

#include <cmath>
#include <cstring>

namespace {

QGuiApplication* GuiApp() { return qobject_cast<QGuiApplication*>(QCoreApplication::instance()); }

}  // namespace

CGDirectDisplayID CGMainDisplayID() {
  if (!GuiApp()) return 0;
  long const index = QGuiApplication::screens().indexOf(QGuiApplication::primaryScreen());
  return index < 0 ? 0 : CGDirectDisplayID(index);
}

namespace Apple_CGL {

struct GrabContext::Context {
  CGDirectDisplayID displayID = 0;
  bool fromX = false;
  ScreenCapture::XScreenReader reader;
  QRect screenRect;     // the display inside the X root window (y down)
  QImage fallback;      // the provider's picture while the context is current
  QSize size;

  bool OpenX(CGDirectDisplayID id);
  bool OpenFallback(CGDirectDisplayID id);
};

namespace {

GrabContext::Context* sCurrent = nullptr;
GrabContext::FallbackProvider sFallbackProvider;

// Only an X session's windows are on the X root window; other platforms' windows
// (Wayland, offscreen) are not, even when an X display happens to be reachable.
bool WantXScreen() {
  QGuiApplication* const app = GuiApp();
  return !app || QGuiApplication::platformName() == QLatin1String("xcb");
}

}  // namespace

bool GrabContext::Context::OpenX(CGDirectDisplayID id) {
  if (reader.Open() != noErr) return false;
  QRect const root(0, 0, reader.Width(), reader.Height());
  QRect rect = root;
  if (GuiApp()) {
    QList<QScreen*> const screens = QGuiApplication::screens();
    if (id >= CGDirectDisplayID(screens.size())) return false;
    QScreen const* const screen = screens[qsizetype(id)];
    // Screen geometry is in device-independent pixels; the root window counts real ones.
    qreal const ratio = screen->devicePixelRatio();
    QRect const g = screen->geometry();
    rect = QRect(int(std::lround(g.x() * ratio)), int(std::lround(g.y() * ratio)),
                 int(std::lround(g.width() * ratio)), int(std::lround(g.height() * ratio)));
  } else if (id != 0) {
    return false;
  }
  rect = rect.intersected(root);
  if (rect.isEmpty()) return false;
  screenRect = rect;
  size = rect.size();
  fromX = true;
  return true;
}

bool GrabContext::Context::OpenFallback(CGDirectDisplayID id) {
  if (!sFallbackProvider) return false;
  QImage const probe = sFallbackProvider(id);
  if (probe.isNull()) return false;
  size = probe.size();
  fromX = false;
  return true;
}

GrabContext::GrabContext() = default;

GrabContext::GrabContext(CGDirectDisplayID displayID) {
  CoreMachDebugVerify(Construct(displayID));
}

GrabContext::~GrabContext() { Destruct(); }

bool GrabContext::Construct(CGDirectDisplayID displayID) {
  Destruct();
  auto context = std::make_unique<Context>();
  context->displayID = displayID;
  if (WantXScreen() && context->OpenX(displayID)) {
    mContext = std::move(context);
  } else {
    context->reader.Close();
    if (context->OpenFallback(displayID)) mContext = std::move(context);
  }
  return CoreVerify(IsValid());
}

bool GrabContext::Construct() {
  bool fOk = CoreVerify(Construct(CGMainDisplayID()));
  return fOk;
}

bool GrabContext::MakeCurrent(bool fullScreen) {
  if (!CoreVerify(IsValid())) return false;
  if (fullScreen) {
    sCurrent = mContext.get();
    if (!mContext->fromX) {
      // The windows are redrawn before the read; their pixels are taken now.
      mContext->fallback = sFallbackProvider ? sFallbackProvider(mContext->displayID) : QImage();
      if (!mContext->fallback.isNull())
        mContext->fallback = mContext->fallback.convertToFormat(QImage::Format_RGB32);
      mContext->size = mContext->fallback.size();
    }
  } else {
    if (sCurrent == mContext.get()) sCurrent = nullptr;
    mContext->fallback = QImage();
  }
  return true;
}

void GrabContext::Destruct() {
  if (!mContext) return;
  if (sCurrent == mContext.get()) sCurrent = nullptr;
  mContext.reset();
}

bool GrabContext::ReadsXScreen() const { return mContext && mContext->fromX; }

bool GrabContext::ScreenIsPrivate() {
  return GuiApp() && QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

void GrabContext::SetFallbackProvider(FallbackProvider provider) {
  sFallbackProvider = std::move(provider);
}

void glGetViewport(int viewport[4]) {
  viewport[0] = viewport[1] = 0;
  viewport[2] = sCurrent ? sCurrent->size.width() : 0;
  viewport[3] = sCurrent ? sCurrent->size.height() : 0;
}

OSErr glReadFrontBuffer(int x, int y, int width, int height, void* dst, long dstRowBytes) {
  if (!sCurrent) return ScreenCapture::kScreenCaptureNotOpenErr;
  GrabContext::Context& c = *sCurrent;
  if (!dst || width <= 0 || height <= 0 || x < 0 || y < 0 || x + width > c.size.width() ||
      y + height > c.size.height() || dstRowBytes < long(width) * 4)
    return paramErr;
  if (c.fromX) {
    int const top = c.size.height() - (y + height);
    return c.reader.ReadRect(c.screenRect.x() + x, c.screenRect.y() + top, width, height, dst,
                             dstRowBytes);
  }
  if (c.fallback.isNull()) return ScreenCapture::kScreenCaptureReadErr;
  auto* const out = static_cast<std::uint8_t*>(dst);
  for (int r = 0; r < height; ++r) {
    auto const* in = reinterpret_cast<QRgb const*>(c.fallback.constScanLine(c.size.height() - 1 - (y + r)));
    std::uint8_t* o = out + long(r) * dstRowBytes;
    for (int i = 0; i < width; ++i, o += 4) {
      QRgb const p = in[x + i];
      o[0] = 0;
      o[1] = std::uint8_t(qRed(p));
      o[2] = std::uint8_t(qGreen(p));
      o[3] = std::uint8_t(qBlue(p));
    }
  }
  return noErr;
}

}  // namespace Apple_CGL
