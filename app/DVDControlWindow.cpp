#include "DVDControlWindow.h"

#include <QKeyEvent>

#include "DVDVideoWindow.h"
#include "GrabDVDController.h"

void DVDControlWindow::setDelegate(GrabDVDController* controller) { mDelegate = controller; }

DVDControlWindow::DVDControlWindow(QWidget* parent) : QWidget(parent) {}

void DVDControlWindow::keyPressEvent(QKeyEvent* event) {
  if (DVDWindowKeyDown(this, qobject_cast<GrabDVDController*>(mDelegate.data()), event)) return;
  QWidget::keyPressEvent(event);
}
