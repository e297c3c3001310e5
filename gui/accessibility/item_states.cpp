// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/accessibility/item_states.h>

#include <QtGui/QAccessible>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>
#include <QtQuick/QQuickItem>
#include <QtQuick/private/qaccessiblequickitem_p.h>
#include <QtQuick/private/qquickitem_p.h>

namespace tfs::gui {
namespace {

constexpr char ExpandedProperty[] = "expanded";
constexpr char LeastProperty[] = "from";
constexpr char GreatestProperty[] = "to";

void TellEnabledChanged(QQuickItem* item) {
    QAccessible::State changed;
    changed.disabled = true;
    QAccessibleStateChangeEvent event(item, changed);
    QAccessible::updateAccessibility(&event);
}

class ItemInterface final : public QAccessibleQuickItem {
public:
    explicit ItemInterface(QQuickItem* item) : QAccessibleQuickItem(item) {
        QObject::connect(item, &QQuickItem::enabledChanged, item, [item] { TellEnabledChanged(item); });
    }

    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleQuickItem::state();
        if (!item()->isEnabled()) {
            state.disabled = true;
            state.focusable = false;
        }
        const QVariant expanded = item()->property(ExpandedProperty);
        if (expanded.type() == QVariant::Bool) {
            state.expandable = true;
            state.expanded = expanded.toBool();
            state.collapsed = !state.expanded;
        }
        return state;
    }

    QVariant minimumValue() const override { return item()->property(LeastProperty); }
    QVariant maximumValue() const override { return item()->property(GreatestProperty); }

protected:
    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface && role() == QAccessible::ProgressBar)
            return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleQuickItem::interface_cast(type);
    }
};

QAccessibleInterface* MakeInterface(const QString& className, QObject* object) {
    if (className != QLatin1String("QQuickItem"))
        return nullptr;
    auto* const item = qobject_cast<QQuickItem*>(object);
    if (item == nullptr || !QQuickItemPrivate::get(item)->isAccessible)
        return nullptr;
    return new ItemInterface(item);
}

} // namespace

void InstallItemStates(QQmlEngine& engine) {
    // Qt Quick installs its own maker of interfaces when it is first imported, and the last one installed is asked
    // first.
    QQmlComponent importing(&engine);
    importing.setData("import QtQuick 2.15\nQtObject {}\n", QUrl());
    QAccessible::installFactory(&MakeInterface);
}

} // namespace tfs::gui
