#include "LocalizedStringTable.h"

#include <QFile>

QString LocalizedStringTable::PathForTable(QString const& tableName) {
  return QStringLiteral(":/") + tableName + QStringLiteral(".strings");
}

bool LocalizedStringTable::Construct(QString const& path) {
  mTexts.clear();
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return false;
  Parse(file.readAll());
  return true;
}

namespace {

// Reads a quoted string at pos (which is on the opening quote); escapes \" \\ \n.
bool ReadQuoted(QString const& s, qsizetype& pos, QString& out) {
  if (pos >= s.size() || s[pos] != u'"') return false;
  out.clear();
  for (++pos; pos < s.size(); ++pos) {
    QChar const c = s[pos];
    if (c == u'\\' && pos + 1 < s.size()) {
      QChar const n = s[++pos];
      out += n == u'n' ? QChar(u'\n') : n;
    } else if (c == u'"') {
      ++pos;
      return true;
    } else {
      out += c;
    }
  }
  return false;
}

void SkipBlanksAndComments(QString const& s, qsizetype& pos) {
  while (pos < s.size()) {
    if (s[pos].isSpace()) {
      ++pos;
    } else if (s.mid(pos, 2) == u"/*") {
      qsizetype const end = s.indexOf(u"*/", pos + 2);
      pos = end < 0 ? s.size() : end + 2;
    } else if (s.mid(pos, 2) == u"//") {
      qsizetype const end = s.indexOf(u'\n', pos);
      pos = end < 0 ? s.size() : end + 1;
    } else {
      return;
    }
  }
}

}  // namespace

void LocalizedStringTable::Parse(QByteArray const& text) {
  QString const s = QString::fromUtf8(text);
  qsizetype pos = 0;
  while (true) {
    SkipBlanksAndComments(s, pos);
    QString key, value;
    if (!ReadQuoted(s, pos, key)) return;
    SkipBlanksAndComments(s, pos);
    if (pos >= s.size() || s[pos] != u'=') return;
    ++pos;
    SkipBlanksAndComments(s, pos);
    if (!ReadQuoted(s, pos, value)) return;
    SkipBlanksAndComments(s, pos);
    if (pos < s.size() && s[pos] == u';') ++pos;
    mTexts.insert(key, value);
  }
}

QString LocalizedStringTable::localizedStringForKey(QString const& key) const {
  auto const it = mTexts.constFind(key);
  return it == mTexts.constEnd() ? QStringLiteral("No translation") : it.value();
}
