// SPDX-License-Identifier: GPL-2.0-or-later
// What a screen reader is told of disabled, expandable and moving things.
#include "process_test.h"

#include <gui/accessibility/item_states.h>

#include <QtGui/QAccessible>
#include <QtGui/QGuiApplication>
#include <QtGui/private/qguiapplication_p.h>
#include <QtQml/QQmlApplicationEngine>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>

namespace tfs::gui {
namespace {

constexpr char Page[] = R"(
import QtQuick 2.15
import QtQuick.Templates 2.15 as T
import QtQuick.Window 2.15
Window {
    visible: true
    Rectangle {
        objectName: "button"
        property bool expanded: true
        width: 50; height: 20
        activeFocusOnTab: true
        Accessible.role: Accessible.Button
    }
    Rectangle { objectName: "plain"; width: 50; height: 20; Accessible.role: Accessible.Button }
    T.ProgressBar {
        objectName: "bar"
        width: 50; height: 20
        from: 0; to: 100; value: 42
        Accessible.role: Accessible.ProgressBar
    }
    Rectangle { objectName: "silent" }
}
)";

int changesOfEnabled = 0;

void CountChanges(QAccessibleEvent* event) {
    if (event->type() == QAccessible::StateChanged &&
        static_cast<QAccessibleStateChangeEvent*>(event)->changedStates().disabled)
        ++changesOfEnabled;
}

class ItemStatesTest : public test::ProcessTest {
protected:
    void TellStates() {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        Begin();
        QGuiApplication app(m_argc, m_argv);
        QGuiApplicationPrivate::platformIntegration()->accessibility()->setActive(true);
        QAccessible::installUpdateHandler(&CountChanges);
        QQmlApplicationEngine engine;
        InstallItemStates(engine);
        engine.loadData(Page);
        Check(engine.rootObjects().size() == 1, "the page loads");
        const auto* const window = qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst());
        const auto item = [window](const char* name) {
            return window->findChild<QQuickItem*>(QString::fromLatin1(name));
        };
        const auto interface = [&item](const char* name) { return QAccessible::queryAccessibleInterface(item(name)); };

        QAccessibleInterface* const button = interface("button");
        Check(button != nullptr, "the button is seen");
        Check(!button->state().disabled && button->state().focusable, "it is enabled");
        Check(button->state().expandable && button->state().expanded && !button->state().collapsed, "and expanded");
        item("button")->setProperty("expanded", false);
        Check(button->state().collapsed && !button->state().expanded, "and closed when it is");
        item("button")->setEnabled(false);
        Check(button->state().disabled && !button->state().focusable, "it is disabled");
        Check(changesOfEnabled == 1, "and that was told");
        Check(!interface("plain")->state().expandable, "what can't expand doesn't say so");

        QAccessibleValueInterface* const value = interface("bar")->valueInterface();
        Check(value != nullptr, "the bar has a value");
        Check(value->currentValue().toInt() == 42 && value->minimumValue().toInt() == 0 &&
                  value->maximumValue().toInt() == 100,
              "and it is the bar's");
        Check(button->valueInterface() == nullptr, "a button has none");
        Check(interface("silent") == nullptr, "what has no role stays unseen");
        std::exit(Passed);
    }
};

TEST_P(ItemStatesTest, AreToldToAssistivePrograms) { EXPECT_EXIT(TellStates(), ::testing::ExitedWithCode(Passed), ""); }

INSTANTIATE_TEST_SUITE_P(Dispatchers, ItemStatesTest, ::testing::Values("unix"));

} // namespace
} // namespace tfs::gui
