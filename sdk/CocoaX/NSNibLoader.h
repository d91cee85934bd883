// Loads Qt Designer files as the kit's nibs: classes registered by name are made by their
// factories, every other class by Qt's own loader; awakeFromNib runs once all are made.
#pragma once

#include <QString>
#include <QUiLoader>

class QIODevice;

class NSNibLoader : public QUiLoader {
  Q_OBJECT
 public:
  explicit NSNibLoader(QObject* parent = nullptr);

  QWidget* createWidget(QString const& className, QWidget* parent = nullptr,
                        QString const& name = QString()) override;

  // The nib of that name: the resource ":/<name>.ui", else "<name>.ui" on the search path
  // "NSNib" (QDir::addSearchPath). nullptr when missing or unreadable.
  QWidget* loadNibNamed(QString const& name, QWidget* parentWidget = nullptr);
  // Loads from a device and sends awakeFromNib to every object that takes it.
  QWidget* loadNib(QIODevice* device, QWidget* parentWidget = nullptr);

  // Calls awakeFromNib on root and on all its descendants that implement it, parents first.
  static void AwakeFromNib(QObject* root);
};
