#include "StillNames.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

// The ISO 9660 volume identifier of an image or device (sector 16), trimmed; empty when it
// has none or cannot be read.
QString VolumeLabel(QString const& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly) || !file.seek(16 * 2048)) return QString();
  QByteArray const sector = file.read(2048);
  if (sector.size() < 72 || sector.mid(1, 5) != "CD001") return QString();
  return QString::fromLatin1(sector.mid(40, 32)).trimmed();
}

}  // namespace

QString StillNames::Safe(QString name) {
  for (QChar& c : name) {
    if (c.unicode() < 0x20 || QStringLiteral("/\\:*?\"<>|").contains(c)) c = QLatin1Char('_');
  }
  return name;
}

QString StillNames::DiscName(QString const& mediaPath) {
  QFileInfo const info(QDir::cleanPath(mediaPath));
  QString name;
  if (info.isFile() || (info.exists() && !info.isDir())) name = VolumeLabel(info.filePath());
  if (name.isEmpty()) {
    name = info.isFile() ? info.completeBaseName() : info.fileName();
    if (name.compare(QStringLiteral("VIDEO_TS"), Qt::CaseInsensitive) == 0) {
      name = QFileInfo(info.absolutePath()).fileName();
    }
  }
  name = Safe(name).trimmed();
  return name.isEmpty() || name.startsWith(QLatin1Char('.')) ? QStringLiteral("DVD") : name;
}

QString StillNames::TimeText(uint64_t ms) {
  return QString::asprintf("%02u-%02u-%02u.%03u", unsigned(ms / 3600000), unsigned(ms / 60000 % 60),
                           unsigned(ms / 1000 % 60), unsigned(ms % 1000));
}

QString StillNames::DurationText(uint64_t ms) {
  return TimeText(ms).replace(QLatin1Char('-'), QLatin1Char(':'));
}

QString StillNames::ClockText(uint64_t ms) {
  uint64_t const s = ms / 1000;
  if (s >= 3600) {
    return QString::asprintf("%u:%02u:%02u", unsigned(s / 3600), unsigned(s / 60 % 60),
                             unsigned(s % 60));
  }
  return QString::asprintf("%u:%02u", unsigned(s / 60), unsigned(s % 60));
}

bool StillNames::Expand(QString const& nameTemplate, StillPlace const& place, QString* name,
                        QString* bad) {
  if (nameTemplate.contains(QLatin1Char('/'))) {
    if (bad) *bad = QStringLiteral("/");
    return false;
  }
  QString out;
  for (qsizetype i = 0; i < nameTemplate.size(); ++i) {
    QChar const c = nameTemplate[i];
    qsizetype const close = c == QLatin1Char('{') ? nameTemplate.indexOf(QLatin1Char('}'), i) : -1;
    if (close < 0) {
      out += c;
      continue;
    }
    QString const field = nameTemplate.mid(i + 1, close - i - 1);
    if (field == QLatin1String("disc")) out += Safe(place.disc);
    else if (field == QLatin1String("title")) out += QString::number(place.title);
    else if (field == QLatin1String("chapter")) out += QString::number(place.chapter);
    else if (field == QLatin1String("time")) out += TimeText(place.ms);
    else if (field == QLatin1String("frame")) out += QString::number(place.frame);
    else if (field == QLatin1String("n")) out += QString::number(place.n);
    else {
      if (bad) *bad = QLatin1Char('{') + field + QLatin1Char('}');
      return false;
    }
    i = close;
  }
  *name = out.trimmed();
  if (name->isEmpty() || *name == QLatin1String(".") || *name == QLatin1String("..")) {
    if (bad) *bad = nameTemplate;
    return false;
  }
  return true;
}
