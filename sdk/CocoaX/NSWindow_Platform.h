// Window operations of the toolkit in the kit's screen coordinates: origin at the
// bottom-left of the main (primary) screen, y growing upwards; a frame's origin is its
// bottom-left corner.
#pragma once

#include <QPointF>
#include <QRectF>

class QWidget;

namespace NSWindow_Platform {

QRectF mainScreenFrame();
// A Qt global position in kit screen coordinates.
QPointF screenLocation(QPointF globalPosition);
// A Qt global position in the window's coordinates (origin bottom-left of its content).
QPointF windowLocation(QWidget const* window, QPointF globalPosition);

QRectF frame(QWidget const* window);
void setFrame(QWidget* window, QRectF const& frame);
void setFrameOrigin(QWidget* window, QPointF origin);

// Window levels of the window-level keys the kit uses: 4 normal, 5 floating, 8 main menu,
// 9 status; other keys answer the normal level. Above normal keeps the window on top.
int CGWindowLevelForKey(int key);
void setLevel(QWidget* window, int level);
int level(QWidget const* window);

// Clear background and no opaque fill: the window shows only what its views paint.
void setOpaque(QWidget* window, bool opaque);
bool isOpaque(QWidget const* window);
void setAlphaValue(QWidget* window, float alpha);
float alphaValue(QWidget const* window);
// Kept for the window's owner; on X11 the compositor draws shadows from the window's alpha.
void setHasShadow(QWidget* window, bool shadow);
bool hasShadow(QWidget const* window);

}  // namespace NSWindow_Platform
