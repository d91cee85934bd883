// Cut, copy and paste on the thumbnail of the last grab. The thumbnail is a plain label
// of the controller window; this object, a child of the label, gives it the edit commands
// through its context menu and the standard keys while it has the focus.
#pragma once

#include <QObject>
#include <QPointer>

#include <memory>

#include "NSBitmapImageRep.h"

class QAction;
class QLabel;
class GrabWindowController;

class GrabThumbnailEditor : public QObject {
  Q_OBJECT

 public:
  GrabThumbnailEditor(QLabel* view, GrabWindowController* controller);

  // The editor given to a view, or null.
  static GrabThumbnailEditor* OfView(QLabel const* view);

  // Shows a picture scaled into the view; null clears the view.
  void showBitmap(std::shared_ptr<NSBitmapImageRep> bitmap);
  std::shared_ptr<NSBitmapImageRep> shownBitmap() const { return mShownBitmap; }

  QAction* cutAction() const { return mCutAction; }
  QAction* copyAction() const { return mCopyAction; }
  QAction* pasteAction() const { return mPasteAction; }

 public slots:
  // Copies; the thumbnail keeps showing the picture, since nothing is deleted.
  void cut();
  // The shown picture onto the clipboard, as the copy command puts the grab there.
  void copy();
  // An image on the clipboard becomes the shown picture.
  void paste();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void updateActions();

  QPointer<QLabel> mView;
  QPointer<GrabWindowController> mController;
  std::shared_ptr<NSBitmapImageRep> mShownBitmap;
  QAction* mCutAction = nullptr;
  QAction* mCopyAction = nullptr;
  QAction* mPasteAction = nullptr;
};
