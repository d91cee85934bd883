// A menu item (QAction) carries its action selector, e.g. "onPlay:", as the dynamic
// property "action"; the target is the object whose slot of that name (without the colon)
// is invoked with the item as sender.
#pragma once

#include <QByteArray>

class QAction;
class QObject;

namespace NSMenuItemAction {

QByteArray action(QAction const* item);
void setAction(QAction* item, QByteArray const& selector);

// "onPlay:" -> "onPlay"; the slot name the selector stands for.
QByteArray slotName(QByteArray const& selector);

// Whether target has a slot for the selector taking the sender (a QObject*).
bool respondsToSelector(QObject const* target, QByteArray const& selector);

// Calls the target's slot with sender now; false when it has none.
bool perform(QObject* target, QByteArray const& selector, QObject* sender);

// Queues the call on the target's thread without waiting; calls run in the order queued.
bool performQueued(QObject* target, QByteArray const& selector, QObject* sender);

}  // namespace NSMenuItemAction
