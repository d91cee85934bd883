#include "GrabStillChoices.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QMenu>

#include <cstdio>
#include <cstring>
#include <mutex>
#include <vector>

#include "CoreMachDebugLog.h"
#include "NSBitmapImageRep.h"
#include "NSMenuItemAction.h"
#include "XFrameBuffer.h"
#include "XFrameOperations.h"

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

// The library's field blend (type A) over the still at its stored size.
void BlendFields(UInt8* argb, UInt32 width, UInt32 height, UInt32 rowBytes, void*) {
  std::vector<UInt8> blended(size_t(rowBytes) * height);
  XFrameBuffer src;
  src.Width = SInt32(width);
  src.Height = SInt32(height);
  src.PixelType = kXFrame_Pel_Format_8RGB;
  src.Fields = 2 | kXFrameFields_TopFirst;
  src.Pixels = argb;
  src.RowBytes = SInt32(rowBytes);
  src.PelBytes = 4;
  XFrameBuffer dst = src;
  dst.Pixels = blended.data();
  if (CoreVerify(XFrame_BlendFields(src, dst, XFrameFilters{kXFrameFilter_BlendFieldsTypeA}))) {
    std::memcpy(argb, blended.data(), blended.size());
  }
}

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

// A bitmap drawn straight over a still's own pixels. Their memory goes back to a few kept
// for the next stills: fresh pages cost more to fault in than a still costs to make.
struct StillBitmap : NSBitmapImageRep {
  StillBitmap() {
    Kept& kept = TheKept();
    std::lock_guard<std::mutex> g(kept.mutex);
    if (!kept.pixels.empty()) {
      still.pixels = std::move(kept.pixels.back());
      kept.pixels.pop_back();
    }
  }
  ~StillBitmap() override {
    Kept& kept = TheKept();
    std::lock_guard<std::mutex> g(kept.mutex);
    if (kept.pixels.size() < 4) kept.pixels.push_back(std::move(still.pixels));
  }
  DVDStillPicture still;

 private:
  struct Kept {
    std::mutex mutex;
    std::vector<std::vector<UInt8>> pixels;
  };
  // Never destroyed: a bitmap may outlive the statics.
  static Kept& TheKept() {
    static Kept* const kept = new Kept;
    return *kept;
  }
};

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
  QFileInfo info(QDir::cleanPath(mediaPath));
  QString name = info.isFile() ? info.completeBaseName() : info.fileName();
  if (name.compare(QStringLiteral("VIDEO_TS"), Qt::CaseInsensitive) == 0) {
    name = QFileInfo(info.absolutePath()).fileName();
  }
  for (QChar& c : name) {
    if (c.unicode() < 0x20 || QStringLiteral("/\\:*?\"<>|").contains(c)) c = QLatin1Char('_');
  }
  name = name.trimmed();
  return name.isEmpty() || name.startsWith(QLatin1Char('.')) ? QStringLiteral("DVD") : name;
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
    ms = height == 576 ? uint64_t(frameInTitle) * 40 : uint64_t(frameInTitle) * 1001 / 30;
  }
  char place[64];
  std::snprintf(place, sizeof place, " T%u C%u %02u-%02u-%02u.%03u", unsigned(title),
                unsigned(chapter), unsigned(ms / 3600000), unsigned(ms / 60000 % 60),
                unsigned(ms / 1000 % 60), unsigned(ms % 1000));
  QString const extension = type == QuikSaveImageType_PNG    ? QStringLiteral(".png")
                            : type == QuikSaveImageType_TIFF ? QStringLiteral(".tiff")
                                                             : QStringLiteral(".jpg");
  QString const stem =
      folder + QLatin1Char('/') + DiscName(mediaPath) + QString::fromLatin1(place);
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
  if (!CoreVerify(DVDTakeStill(mIncludeSubtitles, request) == noErr)) return false;
  request->shape = mShape;
  request->cropBorders = mCropBorders;
  switch (mDeinterlace) {
    case kAuto: request->deinterlace = kDVDStillDeinterlaceAuto; break;
    case kAdaptive: request->deinterlace = kDVDStillDeinterlaceAdaptive; break;
    case kBlend:
      request->deinterlace = kDVDStillDeinterlaceOff;
      request->fieldFilter = BlendFields;
      break;
    case kOff: request->deinterlace = kDVDStillDeinterlaceOff; break;
  }
  // R, G, B and a fourth byte, as every grabbed picture.
  request->pixelOrder = kDVDStillPixelsRGBX;
  return true;
}

std::shared_ptr<NSBitmapImageRep> GrabStillChoices::Make(DVDStillRequest const& request) {
  auto bitmap = std::make_shared<StillBitmap>();
  DVDStillPicture& still = bitmap->still;
  if (!CoreVerify(DVDMakeStill(request, &still) == noErr) ||
      !CoreVerify(bitmap->Construct(still.pixels.data(), long(still.width), long(still.height), 8,
                                    3, false, long(still.rowBytes), 32))) {
    return nullptr;
  }
  return bitmap;
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
