// A string table of the application's resources ("Localizable"): lines of the form
//   "key" = "text";
// with /* comments */ and // comments between them.
#pragma once

#include <QHash>
#include <QString>

class LocalizedStringTable {
 public:
  // Resource path of a table by name, e.g. ":/Localizable.strings".
  static QString PathForTable(QString const& tableName);

  // Reads the table; false when it is missing.
  bool Construct(QString const& path);
  void Parse(QByteArray const& text);

  // The key's text, or "No translation" when the table has no entry for it.
  QString localizedStringForKey(QString const& key) const;
  int count() const { return static_cast<int>(mTexts.size()); }

 private:
  QHash<QString, QString> mTexts;
};
