// How grabs take the video: from the screen (as always) or from the decoded picture on
// screen, at which shape, deinterlaced how, with or without subtitles and black borders; and
// the JPEG quality and names quick saves get. Each choice is a selector group of the grab
// defaults (or a check-mark item), kept in the user defaults like the others.
#pragma once

#include <QPointer>
#include <QString>

#include <array>
#include <memory>
#include <utility>

#include "DVDStill.h"
#include "GrabWindowController.h"
#include "NSBitmapImageRep.h"
#include "NSUISelectorGroup.h"

class QAction;
class QMenu;
class QObject;

extern tagNSUISelectorGroup const GrabSourceSelectorGroup;
extern tagNSUISelectorGroup const GrabSizeSelectorGroup;
extern tagNSUISelectorGroup const GrabDeinterlaceSelectorGroup;
extern tagNSUISelectorGroup const GrabJPEGQualitySelectorGroup;
extern tagNSUISelectorGroup const GrabNamesSelectorGroup;

class GrabStillChoices {
 public:
  // As StillChoices::Deinterlace.
  enum Deinterlace { kAuto, kOff, kBlend, kAdaptive };

  // The submenus and check-mark items found under the grab defaults menu.
  void Construct(QMenu* grabDefaultsMenu, QObject* target);
  void SavePreferences() const;
  void RestorePreferences();

  // From the selector groups' actions (the sender checks itself in its group).
  void SelectSource(QObject* sender, bool videoFrame);
  void SelectShape(QObject* sender, DVDStillShape shape);
  void SelectDeinterlace(QObject* sender, Deinterlace deinterlace);
  // The quality JPEG files are written at (75 by default, as always).
  void SelectJPEGQuality(QObject* sender, int quality);
  // Quick saves named "Tavelo %04d" (as always) or after the disc and the picture's place.
  void SelectNames(QObject* sender, bool discTime);
  // From the check-mark items: their state is the choice.
  void ToggleSubtitles(QObject* sender);
  void ToggleCropBorders(QObject* sender);

  bool GrabsVideoFrames() const { return mVideoFrame; }
  // The decoded picture on screen now, made as chosen; null when there is none.
  std::shared_ptr<NSBitmapImageRep> TakeVideoFrame() const;
  // The same taken now and made later, on any thread; with the quick-save name of that
  // picture (see QuickSavePath). A null maker when there is no picture.
  GrabTaken TakeVideoFrameForSaving(QString const& mediaPath) const;

  // With disc-and-time names: the quick-save file for the picture on screen now,
  // "<disc> T<title> C<chapter> <hh-mm-ss.mmm>.<ext>" in the quick-save folder, with " 2",
  // " 3"... only when the name is taken. Empty: numbered names.
  QString QuickSavePath(QString const& mediaPath, QuikSaveImageType type) const;
  // A disc's name from what was opened: the folder holding VIDEO_TS, the mount point or the
  // image file without its extension; characters no file name should hold replaced.
  static QString DiscName(QString const& mediaPath);

  bool mVideoFrame = false;
  bool mDiscTimeNames = false;
  DVDStillShape mShape = kDVDStillShapeSquarePixels;
  Deinterlace mDeinterlace = kAuto;
  bool mIncludeSubtitles = true;
  bool mCropBorders = false;

 private:
  // The picture on screen now as a request made as chosen; false when there is none.
  bool Take(DVDStillRequest* request) const;
  static std::shared_ptr<NSBitmapImageRep> Make(DVDStillRequest const& request);
  // "<folder>/<disc> T<title> C<chapter> <hh-mm-ss.mmm>[ n].<ext>", the first that is free.
  static QString DiscTimePath(QString const& folder, QString const& mediaPath, UInt32 title,
                              UInt32 chapter, UInt32 frameInTitle, UInt32 elapsedMs,
                              UInt32 height, QuikSaveImageType type);

  // Each selector group's submenu.
  std::array<std::pair<QMenu*, tagNSUISelectorGroup const*>, 5> Groups() const;

  QPointer<QMenu> mSourceMenu;
  QPointer<QMenu> mSizeMenu;
  QPointer<QMenu> mDeinterlaceMenu;
  QPointer<QMenu> mJPEGQualityMenu;
  QPointer<QMenu> mNamesMenu;
  QPointer<QAction> mSubtitlesItem;
  QPointer<QAction> mCropItem;
};
