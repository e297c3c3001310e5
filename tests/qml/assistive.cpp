// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/qml/assistive.h>

#include <QtCore/QStringList>
#include <QtGui/QAccessible>

namespace tfs::tests {

void Assistive::listen() { QAccessible::setActive(true); }

QVariantMap Assistive::look(QObject* item) const {
    QAccessibleInterface* const seen = QAccessible::queryAccessibleInterface(item);
    if (!seen)
        return {};
    const QAccessible::State state = seen->state();
    QAccessibleActionInterface* const actions = seen->actionInterface();
    return {{"role", static_cast<int>(seen->role())},
            {"name", seen->text(QAccessible::Name)},
            {"description", seen->text(QAccessible::Description)},
            {"checkable", state.checkable != 0},
            {"checked", state.checked != 0},
            {"mixed", state.checkStateMixed != 0},
            {"focusable", state.focusable != 0},
            {"focused", state.focused != 0},
            {"actions", actions ? actions->actionNames() : QStringList()}};
}

bool Assistive::act(QObject* item, const QString& action) const {
    QAccessibleInterface* const seen = QAccessible::queryAccessibleInterface(item);
    QAccessibleActionInterface* const actions = seen ? seen->actionInterface() : nullptr;
    if (!actions || !actions->actionNames().contains(action))
        return false;
    actions->doAction(action);
    return true;
}

} // namespace tfs::tests
