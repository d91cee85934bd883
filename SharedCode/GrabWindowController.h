// The object behind the grab and save commands: it owns the last grabbed picture and knows
// the window whose screen is grabbed. The application's controller derives from it.
#pragma once

#include <QObject>
#include <QPointer>
#include <QSizeF>
#include <QWidget>

#include <memory>

#include "NSBitmapImageRep.h"

class QAction;

class GrabWindowController : public QObject {
  Q_OBJECT

 public:
  explicit GrabWindowController(QObject* parent = nullptr);
  ~GrabWindowController() override;

  // Saved and copied pictures keep their grabbed size while the save size is this one.
  static QSizeF const kDefaultSaveImageSize;

  QWidget* grabWindow() const { return mGrabWindow; }
  void setGrabWindow(QWidget* window) { mGrabWindow = window; }
  QSizeF saveImageSize() const { return mSaveImageSize; }
  void setSaveImageSize(QSizeF size) { mSaveImageSize = size; }
  void setSaveImageSizeDefault() { mSaveImageSize = kDefaultSaveImageSize; }
  bool hasGrabbedImage() const { return mBitmapImageRep != nullptr; }
  SInt32 defaultGrabImageType() const { return mDefaultImageType; }
  void setDefaultGrabImageType(SInt32 type) { mDefaultImageType = type; }
  SInt32 defaultFolder() const { return mDefaultFolder; }
  void setDefaultFolder(SInt32 folder) { mDefaultFolder = folder; }
  SInt32 defaultCreator() const { return mDefaultCreator; }
  void setDefaultCreator(SInt32 creator) { mDefaultCreator = creator; }
  std::shared_ptr<NSBitmapImageRep> grabbedBitmapImageRep() const { return mBitmapImageRep; }
  void setGrabbedBitmapImageRep(std::shared_ptr<NSBitmapImageRep> bitmap);
  // Display number of the grab window's screen.
  int grabScreenID() const;

  // Save, save-as and copy need a grabbed picture; every other item is enabled here.
  virtual bool validateMenuItem(QAction* item);

 protected:
  QPointer<QWidget> mGrabWindow;
  std::shared_ptr<NSBitmapImageRep> mBitmapImageRep;
  QSizeF mSaveImageSize;
  SInt32 mDefaultImageType = QuikSaveImageType_JPEG;
  SInt32 mDefaultFolder = 0;
  SInt32 mDefaultCreator = 0;
};
