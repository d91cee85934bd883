// Go → Titles, Chapters, Audio, Subtitles and Angle: the disc's own lists, made afresh each
// time a menu opens, the one playing checked; choosing an item plays that title or chapter,
// or switches the stream or angle. Angle shows only while the title has more than one.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

#include "DVDPlayback.h"

class QAction;
class QMenu;
class QMenuBar;

class DVDGoMenu : public QObject {
  Q_OBJECT

 public:
  // The Go menu, put into bar before the menu whose action is before (at the end: null).
  DVDGoMenu(QMenuBar* bar, QAction* before, QObject* parent = nullptr);

  QPointer<QMenu> mGo;
  QPointer<QMenu> mTitles;
  QPointer<QMenu> mChapters;
  QPointer<QMenu> mAudio;
  QPointer<QMenu> mSubtitles;
  QPointer<QMenu> mAngle;

  // Fill each list from the disc now (the menus do so as they open).
  void fillTitles();
  void fillChapters();
  void fillAudio();
  void fillSubtitles();
  void fillAngles();
  // Whether the submenus have anything to show (called as the Go menu opens).
  void update();

  // "0:45", "12:34" or "1:02:03".
  static QString Duration(uint64_t ms);
  // The language's name in English ("English", "Français" stays "French"); "Unknown"
  // without one.
  static QString LanguageName(DVDLanguageCode code);
};
