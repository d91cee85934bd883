#include "NSNibLoader.h"

#include "NSClassRegistry.h"

#include <QFile>
#include <QPointer>
#include <QWidget>

#include <vector>

NSNibLoader::NSNibLoader(QObject* parent) : QUiLoader(parent) {}

QWidget* NSNibLoader::createWidget(QString const& className, QWidget* parent,
                                   QString const& name) {
  if (QWidget* const widget = NSClassRegistry::Shared().Create(className.toStdString(), parent)) {
    widget->setObjectName(name);
    return widget;
  }
  return QUiLoader::createWidget(className, parent, name);
}

QWidget* NSNibLoader::loadNibNamed(QString const& name, QWidget* parentWidget) {
  QFile file(QStringLiteral(":/") + name + QStringLiteral(".ui"));
  if (!file.exists()) file.setFileName(QStringLiteral("NSNib:") + name + QStringLiteral(".ui"));
  if (!file.open(QIODevice::ReadOnly)) return nullptr;
  return loadNib(&file, parentWidget);
}

QWidget* NSNibLoader::loadNib(QIODevice* device, QWidget* parentWidget) {
  QWidget* const root = load(device, parentWidget);
  if (root) AwakeFromNib(root);
  return root;
}

void NSNibLoader::AwakeFromNib(QObject* root) {
  // Collect first: an awake step may add or remove children.
  std::vector<QPointer<QObject>> objects{root};
  for (std::size_t i = 0; i < objects.size(); ++i) {
    for (QObject* const child : objects[i]->children()) objects.emplace_back(child);
  }
  for (QPointer<QObject> const& object : objects) {
    if (auto* const awaking = dynamic_cast<NSNibAwaking*>(object.data())) awaking->awakeFromNib();
  }
}
