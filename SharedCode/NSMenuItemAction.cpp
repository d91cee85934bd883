#include "NSMenuItemAction.h"

#include <QAction>
#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QVariant>

namespace NSMenuItemAction {

QByteArray action(QAction const* item) {
  if (!item) return {};
  return item->property("action").toByteArray();
}

void setAction(QAction* item, QByteArray const& selector) {
  if (item) item->setProperty("action", selector);
}

QByteArray slotName(QByteArray const& selector) {
  QByteArray name = selector;
  if (name.endsWith(':')) name.chop(1);
  return name;
}

bool respondsToSelector(QObject const* target, QByteArray const& selector) {
  if (!target || selector.isEmpty()) return false;
  QByteArray const signature = slotName(selector) + "(QObject*)";
  return target->metaObject()->indexOfMethod(signature.constData()) >= 0;
}

bool perform(QObject* target, QByteArray const& selector, QObject* sender) {
  if (!respondsToSelector(target, selector)) return false;
  return QMetaObject::invokeMethod(target, slotName(selector).constData(), Qt::DirectConnection,
                                   Q_ARG(QObject*, sender));
}

bool performQueued(QObject* target, QByteArray const& selector, QObject* sender) {
  if (!respondsToSelector(target, selector)) return false;
  // The sender may be gone by the time the call runs; the call then gets null.
  QPointer<QObject> guardedSender(sender);
  QByteArray const name = slotName(selector);
  return QMetaObject::invokeMethod(
      target,
      [target, name, guardedSender] {
        QMetaObject::invokeMethod(target, name.constData(), Qt::DirectConnection,
                                  Q_ARG(QObject*, guardedSender.data()));
      },
      Qt::QueuedConnection);
}

}  // namespace NSMenuItemAction
