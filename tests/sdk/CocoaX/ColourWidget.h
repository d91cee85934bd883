// A widget that paints itself in one colour.
#pragma once

#include <QColor>
#include <QPainter>
#include <QWidget>

namespace tavelo_test {

class ColourWidget : public QWidget {
 public:
  ColourWidget(QColor colour, QWidget* parent = nullptr) : QWidget(parent), mColour(colour) {}

 protected:
  void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(rect(), mColour); }

 private:
  QColor mColour;
};

}  // namespace tavelo_test
