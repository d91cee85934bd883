#include "NSScreenNumber.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

int NSScreenNumber(QWidget const* window) {
  if (!window) return 0;
  QScreen const* screen = window->screen();
  int const index = static_cast<int>(QGuiApplication::screens().indexOf(const_cast<QScreen*>(screen)));
  return index < 0 ? 0 : index;
}
