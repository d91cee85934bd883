// How grabs take the video: from the screen (as always) or from the decoded picture on
// screen, at which shape, deinterlaced how, with or without subtitles, with or without black
// borders; and the JPEG quality they are saved at. Each choice is a menu selector group of the grab defaults (or a check-mark item),
// kept in the user defaults like the others.
#pragma once

#include <QPointer>

#include <array>
#include <memory>
#include <utility>

#include "DVDStill.h"
#include "NSUISelectorGroup.h"

class NSBitmapImageRep;
class QAction;
class QMenu;
class QWidget;

extern tagNSUISelectorGroup const GrabSourceSelectorGroup;
extern tagNSUISelectorGroup const GrabSizeSelectorGroup;
extern tagNSUISelectorGroup const GrabDeinterlaceSelectorGroup;
extern tagNSUISelectorGroup const GrabJPEGQualitySelectorGroup;

class GrabStillChoices {
 public:
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
  // From the check-mark items: their state is the choice.
  void ToggleSubtitles(QObject* sender);
  void ToggleCropBorders(QObject* sender);

  bool GrabsVideoFrames() const { return mVideoFrame; }
  // The decoded picture on screen now, made as chosen; null when there is none.
  std::shared_ptr<NSBitmapImageRep> TakeVideoFrame() const;

  bool mVideoFrame = false;
  DVDStillShape mShape = kDVDStillShapeSquarePixels;
  Deinterlace mDeinterlace = kAuto;
  bool mIncludeSubtitles = true;
  bool mCropBorders = false;

 private:
  // Each selector group's submenu.
  std::array<std::pair<QMenu*, tagNSUISelectorGroup const*>, 4> Groups() const;

  QPointer<QMenu> mSourceMenu;
  QPointer<QMenu> mSizeMenu;
  QPointer<QMenu> mDeinterlaceMenu;
  QPointer<QMenu> mJPEGQualityMenu;
  QPointer<QAction> mSubtitlesItem;
  QPointer<QAction> mCropItem;
};
