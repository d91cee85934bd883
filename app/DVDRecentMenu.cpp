#include "DVDRecentMenu.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QMenu>

#include "NSUISelectorGroup.h"

char const DVDRecentMenu::kKey[] = "RecentDiscs";

DVDRecentMenu::DVDRecentMenu(QMenu* fileMenu, QAction* after,
                             std::function<void(QString const&)> open, QObject* parent)
    : QObject(parent), mOpen(std::move(open)) {
  if (!fileMenu) return;
  mMenu = new QMenu(tr("Open Recent"), fileMenu);
  mMenu->setObjectName(QStringLiteral("menuOpenRecent"));
  QList<QAction*> const items = fileMenu->actions();
  qsizetype const at = items.indexOf(after);
  QAction* const before = at >= 0 && at + 1 < items.size() ? items[at + 1] : nullptr;
  fileMenu->insertMenu(before, mMenu);
  connect(mMenu, &QMenu::aboutToShow, this, &DVDRecentMenu::fill);
  fill();
}

QStringList DVDRecentMenu::Discs() {
  return NSUserDefaults_Standard::stringArrayForKey(QString::fromLatin1(kKey));
}

void DVDRecentMenu::add(QString const& path) {
  if (path.isEmpty()) return;
  QString const clean = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
  QStringList discs = Discs();
  discs.removeAll(clean);
  discs.prepend(clean);
  while (discs.size() > kMost) discs.removeLast();
  NSUserDefaults_Standard::setStringArray(discs, QString::fromLatin1(kKey));
  fill();
}

void DVDRecentMenu::clear() {
  NSUserDefaults_Standard::setStringArray({}, QString::fromLatin1(kKey));
  fill();
}

void DVDRecentMenu::fill() {
  if (!mMenu) return;
  mMenu->clear();
  QStringList const discs = Discs();
  for (QString const& path : discs) {
    QFileInfo const info(path);
    QString name = info.fileName();
    if (name.compare(QStringLiteral("VIDEO_TS"), Qt::CaseInsensitive) == 0) {
      name = QFileInfo(info.absolutePath()).fileName();
    }
    QAction* item = mMenu->addAction(name.isEmpty() ? path : name);
    item->setToolTip(path);
    item->setData(path);
    connect(item, &QAction::triggered, this, [this, path] {
      if (mOpen) mOpen(path);
    });
  }
  if (!discs.isEmpty()) mMenu->addSeparator();
  QAction* clearItem = mMenu->addAction(tr("Clear Menu"));
  clearItem->setEnabled(!discs.isEmpty());
  connect(clearItem, &QAction::triggered, this, &DVDRecentMenu::clear);
}
