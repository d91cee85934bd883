#include "DVDGoMenu.h"

#include <QAction>
#include <QActionGroup>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>

#include <vector>

#include "CoreMachDebugLog.h"
#include "StillNames.h"
#include "StillPlan.h"
#include "StillTitleInfo.h"

namespace {

// The title playing now and what the disc says of it; false on a menu or without a disc.
bool PlayingTitle(UInt16* title, DVDTitleInfo* info) {
  return DVDGetTitle(title) == noErr && *title > 0 && DVDGetTitleInfo(*title, info) == noErr;
}

char const* FormatName(UInt8 format) {
  switch (format) {
    case kDVDAudioFormatAC3: return "Dolby Digital";
    case kDVDAudioFormatMPEG: return "MPEG";
    case kDVDAudioFormatLPCM: return "PCM";
    case kDVDAudioFormatDTS: return "DTS";
    default: return nullptr;
  }
}

// An item of a list whose items exclude each other.
QAction* Choice(QMenu* menu, QActionGroup* group, QString const& text, bool checked) {
  QAction* item = menu->addAction(text);
  item->setCheckable(true);
  item->setChecked(checked);
  group->addAction(item);
  return item;
}

QActionGroup* FreshList(QMenu* menu) {
  menu->clear();
  for (QActionGroup* old : menu->findChildren<QActionGroup*>(QString(), Qt::FindDirectChildrenOnly)) {
    delete old;
  }
  return new QActionGroup(menu);
}

}  // namespace

DVDGoMenu::DVDGoMenu(QMenuBar* bar, QAction* before, QObject* parent) : QObject(parent) {
  mGo = new QMenu(tr("Go"), bar);
  mGo->setObjectName(QStringLiteral("menuGo"));
  mTitles = mGo->addMenu(tr("Titles"));
  mChapters = mGo->addMenu(tr("Chapters"));
  mAudio = mGo->addMenu(tr("Audio"));
  mSubtitles = mGo->addMenu(tr("Subtitles"));
  mAngle = mGo->addMenu(tr("Angle"));
  mTitles->setObjectName(QStringLiteral("menuGoTitles"));
  mChapters->setObjectName(QStringLiteral("menuGoChapters"));
  mAudio->setObjectName(QStringLiteral("menuGoAudio"));
  mSubtitles->setObjectName(QStringLiteral("menuGoSubtitles"));
  mAngle->setObjectName(QStringLiteral("menuGoAngle"));
  if (bar) bar->insertMenu(before, mGo);
  connect(mGo, &QMenu::aboutToShow, this, &DVDGoMenu::update);
  connect(mTitles, &QMenu::aboutToShow, this, &DVDGoMenu::fillTitles);
  connect(mChapters, &QMenu::aboutToShow, this, &DVDGoMenu::fillChapters);
  connect(mAudio, &QMenu::aboutToShow, this, &DVDGoMenu::fillAudio);
  connect(mSubtitles, &QMenu::aboutToShow, this, &DVDGoMenu::fillSubtitles);
  connect(mAngle, &QMenu::aboutToShow, this, &DVDGoMenu::fillAngles);
  update();
}

QString DVDGoMenu::Duration(uint64_t ms) { return StillNames::ClockText(ms); }

QString DVDGoMenu::LanguageName(DVDLanguageCode code) {
  if (code == 0) return tr("Unknown");
  QString const iso = QString(QChar(char(code >> 8))) + QChar(char(code & 0xff));
  QLocale::Language const language = QLocale(iso).language();
  if (language == QLocale::C || language == QLocale::AnyLanguage) return iso;
  return QLocale::languageToString(language);
}

void DVDGoMenu::update() {
  UInt16 titles = 0;
  bool const disc = DVDGetNumTitles(&titles) == noErr && titles > 0;
  mTitles->setEnabled(disc);
  UInt16 title = 0;
  DVDTitleInfo info{};
  bool const playing = PlayingTitle(&title, &info);
  mChapters->setEnabled(playing && info.chapters > 0);
  mAudio->setEnabled(playing);
  mSubtitles->setEnabled(playing);
  UInt16 angles = 0;
  mAngle->menuAction()->setVisible(playing && DVDGetNumAngles(&angles) == noErr && angles > 1);
}

void DVDGoMenu::fillTitles() {
  QActionGroup* group = FreshList(mTitles);
  UInt16 count = 0;
  if (DVDGetNumTitles(&count) != noErr) return;
  UInt16 playing = 0;
  if (DVDGetTitle(&playing) != noErr) playing = 0;
  for (UInt16 t = 1; t <= count; ++t) {
    DVDTitleInfo info{};
    if (DVDGetTitleInfo(t, &info) != noErr) continue;
    QAction* item = Choice(mTitles, group, tr("Title %1 (%2)").arg(t).arg(Duration(info.durationMs)),
                           t == playing);
    connect(item, &QAction::triggered, this, [t] { CoreMachDebugVerify(DVDSetTitle(t) == noErr); });
  }
}

void DVDGoMenu::fillChapters() {
  QActionGroup* group = FreshList(mChapters);
  UInt16 title = 0;
  StillTitleInfo info;
  if (DVDGetTitle(&title) != noErr || title == 0 || !StillTitleInfo::Read(title, &info) ||
      info.info.chapters == 0) {
    return;
  }
  UInt32 frame = 0;
  if (DVDGetFrameInTitle(&frame) != noErr) frame = 0;
  std::vector<uint32_t> const& chapters = info.chapterFirstFrames;
  int const current = StillPlan::ChapterOf(frame, chapters);
  for (UInt16 c = 1; c <= chapters.size(); ++c) {
    QString const text =
        tr("Chapter %1 (%2)").arg(c).arg(Duration(StillPlan::FrameMs(chapters[c - 1], info.PAL())));
    QAction* item = Choice(mChapters, group, text, c == current);
    connect(item, &QAction::triggered, this, [c] { CoreMachDebugVerify(DVDSetChapter(c) == noErr); });
  }
}

void DVDGoMenu::fillAudio() {
  QActionGroup* group = FreshList(mAudio);
  UInt16 title = 0;
  DVDTitleInfo info{};
  UInt16 count = 0;
  if (!PlayingTitle(&title, &info) || DVDGetNumAudioStreams(&count) != noErr) return;
  UInt16 current = 0;
  if (DVDGetAudioStream(&current) != noErr) current = 0xFFFF;
  for (UInt16 s = 0; s < count; ++s) {
    DVDLanguageCode language = 0;
    if (DVDGetAudioLanguageCode(s, &language) != noErr) continue;
    QString text = tr("%1: %2").arg(s + 1).arg(LanguageName(language));
    if (s < 8) {
      if (char const* format = FormatName(info.audioFormats[s])) {
        text += QStringLiteral(" (%1, %2 ch)").arg(QString::fromLatin1(format)).arg(info.audioChannels[s]);
      }
    }
    QAction* item = Choice(mAudio, group, text, s == current);
    connect(item, &QAction::triggered, this, [s] { CoreMachDebugVerify(DVDSetAudioStream(s) == noErr); });
  }
}

void DVDGoMenu::fillSubtitles() {
  QActionGroup* group = FreshList(mSubtitles);
  Boolean enabled = false;
  if (DVDIsSubPictureEnabled(&enabled) != noErr) enabled = false;
  // Closed captions are one more choice, offered only where the title's pictures carry them.
  Boolean captions = false;
  if (DVDGetClosedCaptionsShown(&captions) != noErr) captions = false;
  Boolean hasCaptions = false;
  if (DVDHasClosedCaptions(&hasCaptions) != noErr) hasCaptions = false;
  QAction* off = Choice(mSubtitles, group, tr("Off"), !enabled && !(captions && hasCaptions));
  connect(off, &QAction::triggered, this, [] {
    CoreMachDebugVerify(DVDEnableSubPicture(false) == noErr);
    CoreMachDebugVerify(DVDSetClosedCaptionsShown(false) == noErr);
  });
  UInt16 count = 0;
  if (DVDGetNumSubPictureStreams(&count) != noErr) count = 0;
  UInt16 current = 0;
  if (DVDGetSubPictureStream(&current) != noErr) current = 0xFFFF;
  for (UInt16 s = 0; s < count; ++s) {
    DVDLanguageCode language = 0;
    if (DVDGetSubPictureLanguageCode(s, &language) != noErr) continue;
    QAction* item = Choice(mSubtitles, group, tr("%1: %2").arg(s + 1).arg(LanguageName(language)),
                           enabled && !captions && s == current);
    connect(item, &QAction::triggered, this, [s] {
      CoreMachDebugVerify(DVDSetClosedCaptionsShown(false) == noErr);
      CoreMachDebugVerify(DVDSetSubPictureStream(s) == noErr);
      CoreMachDebugVerify(DVDEnableSubPicture(true) == noErr);
    });
  }
  if (!hasCaptions) return;
  QAction* cc = Choice(mSubtitles, group, tr("Closed captions"), captions);
  cc->setObjectName(QStringLiteral("menuGoSubtitlesClosedCaptions"));
  connect(cc, &QAction::triggered, this, [] {
    CoreMachDebugVerify(DVDEnableSubPicture(false) == noErr);
    CoreMachDebugVerify(DVDSetClosedCaptionsShown(true) == noErr);
  });
}

void DVDGoMenu::fillAngles() {
  QActionGroup* group = FreshList(mAngle);
  UInt16 count = 0;
  UInt16 current = 0;
  if (DVDGetNumAngles(&count) != noErr || DVDGetAngle(&current) != noErr) return;
  for (UInt16 a = 1; a <= count; ++a) {
    QAction* item = Choice(mAngle, group, tr("Angle %1").arg(a), a == current);
    connect(item, &QAction::triggered, this, [a] { CoreMachDebugVerify(DVDSetAngle(a) == noErr); });
  }
}
