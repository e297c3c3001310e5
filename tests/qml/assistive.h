// SPDX-License-Identifier: GPL-2.0-or-later
// What a screen reader sees of an item and can do to it, for tests. GUI thread only.
#pragma once

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVariant>

namespace tfs::tests {

class Assistive : public QObject {
    Q_OBJECT
public:
    /// Tells the application that someone listens; without one the controls keep quiet.
    Q_INVOKABLE void listen();
    /// Name, description, role (a number of QAccessible::Role), the states as booleans, and the names of the actions.
    /// An empty map for what isn't told to anybody.
    Q_INVOKABLE QVariantMap look(QObject* item) const;
    /// False if the item has no such action.
    Q_INVOKABLE bool act(QObject* item, const QString& action) const;
};

} // namespace tfs::tests
