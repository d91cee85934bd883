// The floating controller window: play/pause, stop, scenes, scan, menu, volume, mute,
// the title, scene and time fields, quick grab and the last grab's thumbnail.
#pragma once

#include <QPointer>
#include <QWidget>

#include "NSClassRegistry.h"

class DVDWindowDelegate;

class DVDControlWindow : public QWidget, public NSNibAwaking {
  Q_OBJECT

 public:
  explicit DVDControlWindow(QWidget* parent = nullptr);

  void setDelegate(DVDWindowDelegate* delegate);
  // Icons on the buttons: the desktop theme's, else the ones that come with the program; the
  // tooltips name the keys.
  void setButtonIcons();
  void awakeFromNib() override {}

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  QPointer<QObject> mDelegate;  // the controller
};
