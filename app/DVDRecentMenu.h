// File → Open Recent: the last 8 discs opened (folders, images, mounted discs), newest
// first, kept in the user defaults; choosing one opens it again; "Clear Menu" forgets them.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <functional>

class QAction;
class QMenu;

class DVDRecentMenu : public QObject {
  Q_OBJECT

 public:
  static constexpr int kMost = 8;
  static char const kKey[];

  // The submenu goes into fileMenu after the item after; open(path) opens a disc.
  DVDRecentMenu(QMenu* fileMenu, QAction* after, std::function<void(QString const&)> open,
                QObject* parent = nullptr);

  QPointer<QMenu> mMenu;
  // What was opened, first; an older entry of the same disc goes.
  void add(QString const& path);
  void clear();
  static QStringList Discs();
  void fill();

 private:
  std::function<void(QString const&)> mOpen;
};
