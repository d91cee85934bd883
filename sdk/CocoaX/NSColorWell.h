// The colour well: a swatch that, once activated, edits its colour in the shared colour
// panel. Its colour is a brush: a solid colour, or a pattern that has no RGB value.
#pragma once

#include <QBrush>
#include <QColor>
#include <QPointer>
#include <QWidget>

#include <optional>

class QColorDialog;

// Registers this module's classes by name (CocoaX_RegisterClasses registers the kit's).
void NSColorWell_RegisterClasses();

// The one colour panel of the application.
class NSColorPanel {
 public:
  static QColorDialog* sharedColorPanel();
  static void setShowsAlpha(bool showsAlpha);
  static bool showsAlpha();
};

// A colour in calibrated RGB; nothing for colours that have none (patterns).
std::optional<QColor> NSColor_colorUsingCalibratedRGB(QBrush const& color);

class NSColorWell : public QWidget {
  Q_OBJECT
 public:
  explicit NSColorWell(QWidget* parent = nullptr);
  void initWithFrame(QRect const& frame);

  QBrush color() const { return mColor; }
  void setColor(QBrush const& color);

  // Becomes the panel's well (exclusive: other wells let go) and brings the panel up.
  virtual void activate(bool exclusive);
  void deactivate();
  bool isActive() const { return mActive; }
  static NSColorWell* activeWell();

 signals:
  void colorChanged();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  QBrush mColor{QColor(255, 255, 255)};
  bool mActive = false;
};
