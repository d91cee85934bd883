#include "NSColorWell.h"

#include "NSClassRegistry.h"

#include <QColorDialog>
#include <QCoreApplication>
#include <QMouseEvent>
#include <QPainter>

void NSColorWell_RegisterClasses() {
  NS_REGISTER_CLASS(NSColorWell);
}

namespace {

QPointer<QColorDialog> sPanel;
QPointer<NSColorWell> sActiveWell;

void DestroyPanel() { delete sPanel.data(); }

}  // namespace

QColorDialog* NSColorPanel::sharedColorPanel() {
  if (!sPanel) {
    sPanel = new QColorDialog();
    // Options such as the opacity control only apply to Qt's own dialog.
    sPanel->setOption(QColorDialog::DontUseNativeDialog, true);
    sPanel->setOption(QColorDialog::NoButtons, true);
    sPanel->setWindowTitle(QCoreApplication::translate("NSColorPanel", "Colours"));
    QObject::connect(sPanel, &QColorDialog::currentColorChanged, [](QColor const& color) {
      if (sActiveWell) sActiveWell->setColor(color);
    });
    qAddPostRoutine(DestroyPanel);
  }
  return sPanel;
}

void NSColorPanel::setShowsAlpha(bool showsAlpha) {
  sharedColorPanel()->setOption(QColorDialog::ShowAlphaChannel, showsAlpha);
}

bool NSColorPanel::showsAlpha() {
  return sharedColorPanel()->testOption(QColorDialog::ShowAlphaChannel);
}

std::optional<QColor> NSColor_colorUsingCalibratedRGB(QBrush const& color) {
  if (color.style() != Qt::SolidPattern || !color.color().isValid()) return std::nullopt;
  return color.color().toRgb();
}

NSColorWell::NSColorWell(QWidget* parent) : QWidget(parent) {}

void NSColorWell::initWithFrame(QRect const& frame) {
  if (!frame.isEmpty()) setGeometry(frame);
}

void NSColorWell::setColor(QBrush const& color) {
  mColor = color;
  update();
  emit colorChanged();
}

void NSColorWell::activate(bool exclusive) {
  if (exclusive && sActiveWell && sActiveWell != this) sActiveWell->deactivate();
  mActive = true;
  sActiveWell = this;
  QColorDialog* const panel = NSColorPanel::sharedColorPanel();
  if (auto const rgb = NSColor_colorUsingCalibratedRGB(mColor)) {
    // The panel must not write its own starting colour back into the well.
    NSColorWell* const self = sActiveWell;
    sActiveWell = nullptr;
    panel->setCurrentColor(*rgb);
    sActiveWell = self;
  }
  panel->show();
  panel->raise();
  update();
}

void NSColorWell::deactivate() {
  mActive = false;
  if (sActiveWell == this) sActiveWell = nullptr;
  update();
}

NSColorWell* NSColorWell::activeWell() { return sActiveWell; }

void NSColorWell::paintEvent(QPaintEvent*) {
  QPainter context(this);
  QRect const r = rect();
  context.fillRect(r, palette().button());
  QRect const swatch = r.adjusted(4, 4, -4, -4);
  context.fillRect(swatch, Qt::white);
  context.fillRect(swatch, mColor);
  context.setPen(mActive ? palette().highlight().color() : palette().mid().color());
  context.drawRect(r.adjusted(0, 0, -1, -1));
}

void NSColorWell::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) {
    if (mActive) deactivate();
    else activate(true);
    return;
  }
  QWidget::mousePressEvent(event);
}
