// A view whose whole look is a picture resource named after its window's title.
#pragma once

#include "NSClassRegistry.h"

#include <QImage>
#include <QString>
#include <QWidget>

#include <memory>

// Registers this module's classes by name (CocoaX_RegisterClasses registers the kit's).
void PDFSkinView_RegisterClasses();

class PDFSkinView : public QWidget, public NSNibAwaking {
  Q_OBJECT
 public:
  explicit PDFSkinView(QWidget* parent = nullptr);

  void initWithFrame(QRect const& frame);
  virtual void initView() {}
  void awakeFromNib() override;

  // True when the window's title ends in ".pdf" or ".PDF" and that resource was found.
  bool setResourceImageFromWindowTitle();
  // Loads the application's picture resource of that name (extension included): ":/<name>",
  // else "<name>" on the search path "NSImage". PDF pages are rendered at their point size.
  bool setResourceImage(QString const& name);

  std::unique_ptr<QImage> mPDFSkinImage;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

class PDFSkinAboutBoxView : public PDFSkinView {
  Q_OBJECT
 public:
  using PDFSkinView::PDFSkinView;
  bool acceptsFirstMouse(QMouseEvent const*) const { return true; }
};
