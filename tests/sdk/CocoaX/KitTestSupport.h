// Rendering widgets into pictures, checking shapes pixel by pixel, and feeding mouse events
// to the capture loop. Widgets need the QApplication that KitTestEnvironment makes.
#pragma once

#include <QApplication>
#include <QCoreApplication>
#include <QImage>
#include <QMouseEvent>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

namespace tavelo_test {

// What the widget paints, over a transparent (or given) background; not premultiplied.
inline QImage Render(QWidget& widget, QColor background = Qt::transparent) {
  QImage image(widget.size(), QImage::Format_ARGB32_Premultiplied);
  image.fill(background);
  widget.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
  return image.convertToFormat(QImage::Format_ARGB32);
}

// Signed distances (negative inside) of the shapes the kit draws, in pixel coordinates.
inline double RoundBoxDistance(double px, double py, QRectF const& box, double r) {
  double const qx = std::abs(px - box.center().x()) - (box.width() / 2.0 - r);
  double const qy = std::abs(py - box.center().y()) - (box.height() / 2.0 - r);
  return std::hypot(std::max(qx, 0.0), std::max(qy, 0.0)) + std::min(std::max(qx, qy), 0.0) - r;
}

inline double CapsuleDistance(double px, double py, QPointF a, QPointF b, double radius) {
  double const vx = b.x() - a.x();
  double const vy = b.y() - a.y();
  double const len2 = vx * vx + vy * vy;
  double t = len2 > 0.0 ? ((px - a.x()) * vx + (py - a.y()) * vy) / len2 : 0.0;
  t = std::clamp(t, 0.0, 1.0);
  return std::hypot(px - (a.x() + t * vx), py - (a.y() + t * vy)) - radius;
}

struct ShapeCheck {
  int mismatches = 0;
  int inside = 0;
  int outside = 0;
};

// Pixels more than a pixel inside must show color, more than a pixel outside nothing.
inline ShapeCheck CheckShape(QImage const& image, std::function<double(double, double)> const& distance,
                             QColor const& color, int tolerance = 3) {
  ShapeCheck check;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      double const d = distance(x + 0.5, y + 0.5);
      QColor const c = image.pixelColor(x, y);
      if (d < -1.0) {
        ++check.inside;
        if (std::abs(c.alpha() - color.alpha()) > tolerance ||
            std::abs(c.red() - color.red()) > tolerance ||
            std::abs(c.green() - color.green()) > tolerance ||
            std::abs(c.blue() - color.blue()) > tolerance)
          ++check.mismatches;
      } else if (d > 1.0) {
        ++check.outside;
        if (c.alpha() != 0) ++check.mismatches;
      }
    }
  }
  return check;
}

// Sends one mouse event made at the moment of sending: Qt's events share their point with
// the pointing device, so an event made earlier would show the latest position.
inline void SendMouse(QWidget* receiver, QEvent::Type type, QPoint global,
                      Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
  QWidget* const window = receiver->window();
  QPointF const local = QPointF(global - window->geometry().topLeft());
  Qt::MouseButtons const buttons = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
  QMouseEvent event(type, local, QPointF(global), Qt::LeftButton, buttons, modifiers);
  QCoreApplication::sendEvent(receiver, &event);
}

// Sends the events one by one from timers, each when the event loop next runs (inside the
// capture loop, as a user's drag arrives); the last one is the release.
inline void ScheduleMouse(QWidget* receiver, std::vector<QPoint> const& globals,
                          Qt::KeyboardModifiers modifiers, int firstDelayMs = 0) {
  for (std::size_t i = 0; i < globals.size(); ++i) {
    QEvent::Type const type = i + 1 == globals.size() ? QEvent::MouseButtonRelease : QEvent::MouseMove;
    QPoint const global = globals[i];
    QTimer::singleShot(firstDelayMs + int(i), receiver, [receiver, type, global, modifiers] {
      SendMouse(receiver, type, global, modifiers);
    });
  }
}

// A press at start (window coordinates, y down), drags through moves and a release at the
// last point. Points become screen positions from the window's geometry at the start.
inline void Drag(QWidget* window, QPoint start, std::vector<QPoint> const& moves,
                 Qt::KeyboardModifiers modifiers = Qt::NoModifier, QWidget* receiver = nullptr) {
  if (!receiver) receiver = window;
  QPoint const origin = window->geometry().topLeft();
  std::vector<QPoint> globals;
  for (QPoint const& m : moves) globals.push_back(origin + m);
  globals.push_back(origin + (moves.empty() ? start : moves.back()));
  ScheduleMouse(receiver, globals, modifiers);
  SendMouse(receiver, QEvent::MouseButtonPress, origin + start, modifiers);
  QCoreApplication::processEvents();
}

}  // namespace tavelo_test
