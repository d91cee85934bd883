#include "PDFSkinView.h"

#include <QFile>
#include <QPaintEvent>
#include <QPainter>
#include <QPdfDocument>

void PDFSkinView_RegisterClasses() {
  NS_REGISTER_CLASS(PDFSkinView);
  NS_REGISTER_CLASS(PDFSkinAboutBoxView);
}

namespace {

std::unique_ptr<QImage> LoadResourceImage(QString const& name) {
  QFile file(QStringLiteral(":/") + name);
  if (!file.exists()) file.setFileName(QStringLiteral("NSImage:") + name);
  if (!file.exists()) return nullptr;
  if (name.endsWith(QStringLiteral(".pdf"), Qt::CaseInsensitive)) {
    QPdfDocument document;
    if (document.load(file.fileName()) != QPdfDocument::Error::None || document.pageCount() < 1)
      return nullptr;
    QSize const size = document.pagePointSize(0).toSize();
    if (size.isEmpty()) return nullptr;
    auto image = std::make_unique<QImage>(document.render(0, size));
    if (image->isNull()) return nullptr;
    return image;
  }
  auto image = std::make_unique<QImage>(file.fileName());
  if (image->isNull()) return nullptr;
  return image;
}

}  // namespace

PDFSkinView::PDFSkinView(QWidget* parent) : QWidget(parent) {}

void PDFSkinView::initWithFrame(QRect const& frame) {
  if (!frame.isEmpty()) setGeometry(frame);
  mPDFSkinImage.reset();
  initView();
}

void PDFSkinView::awakeFromNib() {
  if (setResourceImageFromWindowTitle()) update();
}

bool PDFSkinView::setResourceImageFromWindowTitle() {
  QWidget const* const w = window();
  if (!w || w == this) return false;
  QString const title = w->windowTitle();
  if (!title.endsWith(QStringLiteral(".pdf")) && !title.endsWith(QStringLiteral(".PDF")))
    return false;
  return setResourceImage(title);
}

bool PDFSkinView::setResourceImage(QString const& name) {
  mPDFSkinImage = LoadResourceImage(name);
  return mPDFSkinImage != nullptr;
}

void PDFSkinView::paintEvent(QPaintEvent* event) {
  QPainter context(this);
  context.setCompositionMode(QPainter::CompositionMode_Clear);
  context.fillRect(event->rect(), Qt::transparent);
  context.setCompositionMode(QPainter::CompositionMode_SourceOver);
  // The picture sits at the view's origin, its bottom-left corner.
  if (mPDFSkinImage) context.drawImage(QPointF(0.0, height() - mPDFSkinImage->height()), *mPDFSkinImage);
}
