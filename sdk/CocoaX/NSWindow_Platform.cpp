#include "NSWindow_Platform.h"

#include <QGuiApplication>
#include <QScreen>
#include <QVariant>
#include <QWidget>

#include <cmath>

namespace NSWindow_Platform {

namespace {

char const kLevelProperty[] = "NSWindowLevel";
char const kShadowProperty[] = "NSWindowHasShadow";

// Kit y = flipLine - Qt y.
qreal FlipLine() {
  QScreen const* const screen = QGuiApplication::primaryScreen();
  if (!screen) return 0.0;
  QRect const g = screen->geometry();
  return g.y() + g.height();
}

int Round(qreal v) { return static_cast<int>(std::lround(v)); }

}  // namespace

QRectF mainScreenFrame() {
  QScreen const* const screen = QGuiApplication::primaryScreen();
  if (!screen) return QRectF();
  QRect const g = screen->geometry();
  return QRectF(g.x(), FlipLine() - (g.y() + g.height()), g.width(), g.height());
}

QPointF screenLocation(QPointF globalPosition) {
  return QPointF(globalPosition.x(), FlipLine() - globalPosition.y());
}

QPointF windowLocation(QWidget const* window, QPointF globalPosition) {
  QPointF const local = window->mapFromGlobal(globalPosition);
  return QPointF(local.x(), window->height() - local.y());
}

QRectF frame(QWidget const* window) {
  QRect const g = window->frameGeometry();
  return QRectF(g.x(), FlipLine() - (g.y() + g.height()), g.width(), g.height());
}

void setFrame(QWidget* window, QRectF const& frame) {
  // Decorations (none for the kit's borderless windows) stay outside the content size.
  QRect const outer = window->frameGeometry();
  QRect const inner = window->geometry();
  int const extraW = outer.width() - inner.width();
  int const extraH = outer.height() - inner.height();
  int const w = Round(frame.width());
  int const h = Round(frame.height());
  window->resize(qMax(0, w - extraW), qMax(0, h - extraH));
  window->move(Round(frame.x()), Round(FlipLine() - (frame.y() + frame.height())));
}

void setFrameOrigin(QWidget* window, QPointF origin) {
  QRectF f = frame(window);
  f.moveTo(origin);
  window->move(Round(f.x()), Round(FlipLine() - (f.y() + f.height())));
}

int CGWindowLevelForKey(int key) {
  switch (key) {
    case 5: return 3;
    case 8: return 24;
    case 9: return 25;
    default: return 0;
  }
}

void setLevel(QWidget* window, int level) {
  window->setProperty(kLevelProperty, level);
  bool const onTop = level > 0;
  if (window->windowFlags().testFlag(Qt::WindowStaysOnTopHint) == onTop) return;
  // Changing the flags hides a shown window.
  bool const visible = window->isVisible();
  window->setWindowFlag(Qt::WindowStaysOnTopHint, onTop);
  if (visible) window->show();
}

int level(QWidget const* window) { return window->property(kLevelProperty).toInt(); }

void setOpaque(QWidget* window, bool opaque) {
  window->setAttribute(Qt::WA_TranslucentBackground, !opaque);
  window->setAttribute(Qt::WA_NoSystemBackground, !opaque);
  window->setAutoFillBackground(opaque);
}

bool isOpaque(QWidget const* window) {
  return !window->testAttribute(Qt::WA_TranslucentBackground);
}

void setAlphaValue(QWidget* window, float alpha) { window->setWindowOpacity(alpha); }

float alphaValue(QWidget const* window) { return static_cast<float>(window->windowOpacity()); }

void setHasShadow(QWidget* window, bool shadow) { window->setProperty(kShadowProperty, shadow); }

bool hasShadow(QWidget const* window) { return window->property(kShadowProperty).toBool(); }

}  // namespace NSWindow_Platform
