#include "GrabStillChoices.h"

#include <QAction>
#include <QFileInfo>
#include <QMenu>

#include <vector>

#include "CoreMachDebugLog.h"
#include "NSBitmapImageRep.h"
#include "NSMenuItemAction.h"
#include "StillMaker.h"
#include "StillNames.h"
#include "StillPlan.h"

namespace {

// The first member of each is the default.
auto const kSourceSelectors =
    NSUISelectorTable({"selectDefault_GrabScreen:", "selectDefault_GrabVideoFrame:"});
auto const kSizeSelectors =
    NSUISelectorTable({"selectDefault_SizeSquarePixels:", "selectDefault_SizeSquarePixelsITU:",
                       "selectDefault_SizeStored:"});
auto const kDeinterlaceSelectors =
    NSUISelectorTable({"selectDefault_DeinterlaceAuto:", "selectDefault_DeinterlaceOff:",
                       "selectDefault_DeinterlaceBlend:", "selectDefault_DeinterlaceAdaptive:"});
auto const kJPEGQualitySelectors =
    NSUISelectorTable({"selectDefault_JPEGQuality75:", "selectDefault_JPEGQuality90:",
                       "selectDefault_JPEGQuality100:"});
auto const kNamesSelectors =
    NSUISelectorTable({"selectDefault_NamesNumbered:", "selectDefault_NamesDiscTime:"});

char const kSubtitlesKey[] = "GrabIncludeSubtitles";
char const kCropKey[] = "GrabCropBorders";

// A stored boolean, or the default when there is none.
bool StoredBool(char const* key, bool byDefault) {
  QString const stored = NSUserDefaults_Standard::stringForKey(QString::fromUtf8(key));
  return stored.isNull() ? byDefault : stored == QStringLiteral("true");
}

void StoreBool(char const* key, bool value) {
  NSUserDefaults_Standard::setString(value ? QStringLiteral("true") : QStringLiteral("false"),
                                     QString::fromUtf8(key));
}

// The sender, a menu item of the group, checks itself there.
void CheckInGroup(QObject* sender, tagNSUISelectorGroup const& group) {
  if (auto* item = qobject_cast<QAction*>(sender)) {
    NSMenuItem_NSUISelectorGroup::selectSelfFromSelectorGroup(item, group);
  }
}

// A check-mark item's new state; without one, the state flips.
bool CheckMark(QObject* sender, bool current) {
  auto* const item = qobject_cast<QAction*>(sender);
  return item ? item->isChecked() : !current;
}

QAction* ItemWithAction(QMenu* menu, char const* action) {
  if (!menu) return nullptr;
  for (QAction* item : menu->actions()) {
    if (NSMenuItemAction::action(item) == action) return item;
  }
  return nullptr;
}

}  // namespace

tagNSUISelectorGroup const GrabSourceSelectorGroup = {1, "GrabSourceSelectorGroup",
                                                      kSourceSelectors.data()};
tagNSUISelectorGroup const GrabSizeSelectorGroup = {1, "GrabSizeSelectorGroup",
                                                    kSizeSelectors.data()};
tagNSUISelectorGroup const GrabDeinterlaceSelectorGroup = {1, "GrabDeinterlaceSelectorGroup",
                                                           kDeinterlaceSelectors.data()};
tagNSUISelectorGroup const GrabJPEGQualitySelectorGroup = {1, "GrabJPEGQualitySelectorGroup",
                                                           kJPEGQualitySelectors.data()};
tagNSUISelectorGroup const GrabNamesSelectorGroup = {1, "GrabNamesSelectorGroup",
                                                     kNamesSelectors.data()};

void GrabStillChoices::Construct(QMenu* grabDefaultsMenu, QObject* target) {
  if (!CoreVerify(grabDefaultsMenu)) return;
  mSourceMenu = grabDefaultsMenu->findChild<QMenu*>(QStringLiteral("mGrabFromMenu"));
  mSizeMenu = grabDefaultsMenu->findChild<QMenu*>(QStringLiteral("mGrabSizeMenu"));
  mDeinterlaceMenu = grabDefaultsMenu->findChild<QMenu*>(QStringLiteral("mGrabDeinterlaceMenu"));
  mJPEGQualityMenu = grabDefaultsMenu->findChild<QMenu*>(QStringLiteral("mGrabJPEGQualityMenu"));
  mNamesMenu = grabDefaultsMenu->findChild<QMenu*>(QStringLiteral("mGrabNamesMenu"));
  mSubtitlesItem = ItemWithAction(grabDefaultsMenu, "toggleGrabIncludeSubtitles:");
  mCropItem = ItemWithAction(grabDefaultsMenu, "toggleGrabCropBorders:");
  // Restoring performs the chosen items' actions on the controller.
  for (auto const& [menu, group] : Groups()) {
    if (!CoreVerify(menu)) continue;
    for (QAction* item : menu->actions()) NSMenuItem_NSUISelectorGroup::setTarget(item, target);
  }
}

std::array<std::pair<QMenu*, tagNSUISelectorGroup const*>, 5> GrabStillChoices::Groups() const {
  return {{{mSourceMenu, &GrabSourceSelectorGroup},
           {mSizeMenu, &GrabSizeSelectorGroup},
           {mDeinterlaceMenu, &GrabDeinterlaceSelectorGroup},
           {mJPEGQualityMenu, &GrabJPEGQualitySelectorGroup},
           {mNamesMenu, &GrabNamesSelectorGroup}}};
}

void GrabStillChoices::SavePreferences() const {
  for (auto const& [menu, group] : Groups()) {
    NSMenu_NSUISelectorGroup::saveSelectorGroupPreferences(menu, *group);
  }
  StoreBool(kSubtitlesKey, mIncludeSubtitles);
  StoreBool(kCropKey, mCropBorders);
}

void GrabStillChoices::RestorePreferences() {
  for (auto const& [menu, group] : Groups()) {
    if (menu) NSMenu_NSUISelectorGroup::restoreSelectorGroupPreferences(menu, *group);
  }
  mIncludeSubtitles = StoredBool(kSubtitlesKey, true);
  mCropBorders = StoredBool(kCropKey, false);
  if (mSubtitlesItem) mSubtitlesItem->setChecked(mIncludeSubtitles);
  if (mCropItem) mCropItem->setChecked(mCropBorders);
}

void GrabStillChoices::SelectSource(QObject* sender, bool videoFrame) {
  CheckInGroup(sender, GrabSourceSelectorGroup);
  mVideoFrame = videoFrame;
}

void GrabStillChoices::SelectShape(QObject* sender, DVDStillShape shape) {
  CheckInGroup(sender, GrabSizeSelectorGroup);
  mShape = shape;
}

void GrabStillChoices::SelectDeinterlace(QObject* sender, Deinterlace deinterlace) {
  CheckInGroup(sender, GrabDeinterlaceSelectorGroup);
  mDeinterlace = deinterlace;
}

void GrabStillChoices::SelectJPEGQuality(QObject* sender, int quality) {
  CheckInGroup(sender, GrabJPEGQualitySelectorGroup);
  NSBitmapImageRep::setQuikJPEGCompressionFactor(float(quality) / 100.0f);
}

void GrabStillChoices::SelectNames(QObject* sender, bool discTime) {
  CheckInGroup(sender, GrabNamesSelectorGroup);
  mDiscTimeNames = discTime;
}

QString GrabStillChoices::DiscName(QString const& mediaPath) {
  return StillNames::DiscName(mediaPath);
}

QString GrabStillChoices::QuickSavePath(QString const& mediaPath, QuikSaveImageType type) const {
  if (!mDiscTimeNames) return QString();
  DVDPresentedFrameInfo info{};
  UInt32 size = 0;
  if (!CoreVerify(DVDCopyPresentedFrame(&info, nullptr, &size) == noErr)) return QString();
  return DiscTimePath(NSBitmapImageRep::quickSaveFolderUnixPath(), mediaPath, info.title,
                      info.chapter, info.frameInTitle, info.elapsedMs, info.height, type);
}

QString GrabStillChoices::DiscTimePath(QString const& folder, QString const& mediaPath,
                                       UInt32 title, UInt32 chapter, UInt32 frameInTitle,
                                       UInt32 elapsedMs, UInt32 height, QuikSaveImageType type) {
  // The frame's own start when it is known, as the disc counts frames.
  uint64_t ms = elapsedMs;
  if (frameInTitle != kDVDNoFrame) {
    ms = StillPlan::FrameMs(frameInTitle, height == 576);
  }
  QString const place =
      QStringLiteral(" T%1 C%2 ").arg(title).arg(chapter) + StillNames::TimeText(ms);
  QString const extension = type == QuikSaveImageType_PNG    ? QStringLiteral(".png")
                            : type == QuikSaveImageType_TIFF ? QStringLiteral(".tiff")
                                                             : QStringLiteral(".jpg");
  QString const stem = folder + QLatin1Char('/') + DiscName(mediaPath) + place;
  QString path = stem + extension;
  for (int n = 2; QFileInfo::exists(path); ++n) path = stem + QStringLiteral(" %1").arg(n) + extension;
  return path;
}

void GrabStillChoices::ToggleSubtitles(QObject* sender) {
  mIncludeSubtitles = CheckMark(sender, mIncludeSubtitles);
}

void GrabStillChoices::ToggleCropBorders(QObject* sender) {
  mCropBorders = CheckMark(sender, mCropBorders);
}

bool GrabStillChoices::Take(DVDStillRequest* request) const {
  StillChoices choices;
  choices.shape = mShape;
  choices.deinterlace = StillChoices::Deinterlace(mDeinterlace);
  choices.subtitles = mIncludeSubtitles;
  choices.cropBorders = mCropBorders;
  return StillMaker::Take(choices, request);
}

std::shared_ptr<NSBitmapImageRep> GrabStillChoices::Make(DVDStillRequest const& request) {
  return StillMaker::Make(request);
}

std::shared_ptr<NSBitmapImageRep> GrabStillChoices::TakeVideoFrame() const {
  DVDStillRequest request;
  return Take(&request) ? Make(request) : nullptr;
}

GrabTaken GrabStillChoices::TakeVideoFrameForSaving(QString const& mediaPath) const {
  auto request = std::make_shared<DVDStillRequest>();
  if (!Take(request.get())) return {};
  GrabTaken taken;
  taken.make = [request] { return Make(*request); };
  if (mDiscTimeNames) {
    // Named after the picture taken, in the folder chosen now; free names are looked for as
    // it is written, after the saves before it.
    DVDDecodedFrameInfo const& i = request->info;
    taken.quickSavePath = [folder = NSBitmapImageRep::quickSaveFolderUnixPath(), mediaPath,
                           i](QuikSaveImageType type) {
      return DiscTimePath(folder, mediaPath, i.title, i.chapter, i.frameInTitle, i.elapsedMs,
                          i.height, type);
    };
  }
  return taken;
}
