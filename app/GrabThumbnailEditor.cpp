#include "GrabThumbnailEditor.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QPixmap>

#include "GrabWindowController.h"

namespace {

// Most specific first: the grab's own types, then whatever image Qt can decode.
QImage ImageOfClipboard(QClipboard const* clipboard) {
  QMimeData const* const data = clipboard ? clipboard->mimeData() : nullptr;
  if (!data) return {};
  for (char const* type : {"image/png", "image/tiff"}) {
    QImage image;
    QByteArray const bytes = data->data(QString::fromLatin1(type));
    if (!bytes.isEmpty() && image.loadFromData(bytes)) return image;
  }
  if (data->hasImage()) return qvariant_cast<QImage>(data->imageData());
  return {};
}

QImage ImageOfBitmap(NSBitmapImageRep const& bitmap) {
  QImage image;
  image.loadFromData(bitmap.TIFFRepresentation(), "TIFF");
  return image;
}

}  // namespace

GrabThumbnailEditor::GrabThumbnailEditor(QLabel* view, GrabWindowController* controller)
    : QObject(view), mView(view), mController(controller) {
  setObjectName(QStringLiteral("GrabThumbnailEditor"));
  auto makeAction = [this](QString const& text, QKeySequence::StandardKey key, void (GrabThumbnailEditor::*slot)()) {
    auto* action = new QAction(text, this);
    action->setShortcut(key);
    // Shown in the menu; the keys themselves arrive through the event filter, since the
    // menu bar's application-wide Copy would make a second shortcut ambiguous.
    action->setShortcutContext(Qt::WidgetShortcut);
    connect(action, &QAction::triggered, this, slot);
    mView->addAction(action);
    return action;
  };
  mCutAction = makeAction(tr("Cut"), QKeySequence::Cut, &GrabThumbnailEditor::cut);
  mCopyAction = makeAction(tr("Copy"), QKeySequence::Copy, &GrabThumbnailEditor::copy);
  mPasteAction = makeAction(tr("Paste"), QKeySequence::Paste, &GrabThumbnailEditor::paste);
  mView->setContextMenuPolicy(Qt::ActionsContextMenu);
  mView->setFocusPolicy(Qt::StrongFocus);
  mView->installEventFilter(this);
  updateActions();
}

GrabThumbnailEditor* GrabThumbnailEditor::OfView(QLabel const* view) {
  return view ? view->findChild<GrabThumbnailEditor*>(QStringLiteral("GrabThumbnailEditor"),
                                                      Qt::FindDirectChildrenOnly)
              : nullptr;
}

void GrabThumbnailEditor::showBitmap(std::shared_ptr<NSBitmapImageRep> bitmap) {
  mShownBitmap = std::move(bitmap);
  if (mView) {
    QImage const image = mShownBitmap ? ImageOfBitmap(*mShownBitmap) : QImage();
    if (image.isNull()) {
      mView->clear();
    } else {
      mView->setPixmap(QPixmap::fromImage(
          image.scaled(mView->size(), Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    }
  }
  updateActions();
}

void GrabThumbnailEditor::cut() { copy(); }

void GrabThumbnailEditor::copy() {
  if (!mShownBitmap) return;
  // The grab goes the copy command's way (at the save size); a pasted picture as it is.
  if (mController && mShownBitmap == mController->grabbedBitmapImageRep()) {
    mController->copy(mView);
  } else {
    GrabWindowController::PutBitmapOnPasteboard(*mShownBitmap, QGuiApplication::clipboard());
  }
}

void GrabThumbnailEditor::paste() {
  QImage const image = ImageOfClipboard(QGuiApplication::clipboard());
  if (image.isNull()) return;
  if (std::shared_ptr<NSBitmapImageRep> bitmap = NSBitmapImageRep::imageRepWithImage(image))
    showBitmap(std::move(bitmap));
}

void GrabThumbnailEditor::updateActions() {
  mCutAction->setEnabled(mShownBitmap != nullptr);
  mCopyAction->setEnabled(mShownBitmap != nullptr);
}

bool GrabThumbnailEditor::eventFilter(QObject* watched, QEvent* event) {
  if (watched != mView) return false;
  if (event->type() != QEvent::ShortcutOverride && event->type() != QEvent::KeyPress) return false;
  auto* const key = static_cast<QKeyEvent*>(event);
  void (GrabThumbnailEditor::*command)() = nullptr;
  if (key->matches(QKeySequence::Cut)) command = &GrabThumbnailEditor::cut;
  else if (key->matches(QKeySequence::Copy)) command = &GrabThumbnailEditor::copy;
  else if (key->matches(QKeySequence::Paste)) command = &GrabThumbnailEditor::paste;
  if (!command) return false;
  // Taking the override makes the key a key press for this view instead of a shortcut.
  event->accept();
  if (event->type() == QEvent::KeyPress) (this->*command)();
  return true;
}
