// SPDX-License-Identifier: GPL-2.0-or-later
// Where a window is brought back to that its header alone can move.
#include "process_test.h"

#include <gui/tools/window_reach.h>

#include <QtCore/QDeadlineTimer>
#include <QtGui/QGuiApplication>
#include <QtQml/QQmlApplicationEngine>
#include <QtQuick/QQuickWindow>
#include <QtQuick/QSGRendererInterface>
#include <gtest/gtest.h>
#include <ostream>

namespace tfs::tools {
namespace {

constexpr int Header = 32;
constexpr QSize Size(735, 540);

struct Row {
    const char* name;
    QPoint from;
    QVector<QRect> screens;
    QPoint to;
};

std::ostream& operator<<(std::ostream& stream, const Row& row) { return stream << row.name; }

class WindowReachTest : public ::testing::TestWithParam<Row> {};

TEST_P(WindowReachTest, headerStaysWithinReach) {
    const Row& row = GetParam();
    const QPoint place = ReachablePlace(QRect(row.from, Size), Header, row.screens);
    EXPECT_EQ(place.x(), row.to.x());
    EXPECT_EQ(place.y(), row.to.y());
    EXPECT_EQ(ReachablePlace(QRect(place, Size), Header, row.screens), place) << "once is enough";
}

const QRect Screen(0, 0, 1280, 800);
const QRect Right(1280, 0, 1024, 768);
const QRect Lower(0, 1080, 1280, 800);
const QRect BelowPanel(0, 30, 1280, 770);

INSTANTIATE_TEST_SUITE_P(
    Places, WindowReachTest,
    ::testing::Values(Row{"on the screen", {272, 130}, {Screen}, {272, 130}},
                      Row{"partly below and beside, header in reach", {1000, 700}, {Screen}, {1000, 700}},
                      Row{"above", {272, -200}, {Screen}, {272, 0}}, Row{"below", {272, 790}, {Screen}, {272, 768}},
                      Row{"left", {-700, 130}, {Screen}, {-575, 130}}, Row{"right", {1275, 130}, {Screen}, {1120, 130}},
                      Row{"corner", {5000, 5000}, {Screen}, {1120, 768}},
                      Row{"header under a panel", {272, 0}, {BelowPanel}, {272, 30}},
                      Row{"across two screens", {1000, 100}, {Screen, Right}, {1000, 100}},
                      Row{"on the second screen", {1500, 100}, {Screen, Right}, {1500, 100}},
                      Row{"its screen has gone", {2200, 100}, {Screen}, {1120, 100}},
                      Row{"between two screens, nearer to the lower", {272, 1000}, {Screen, Lower}, {272, 1080}},
                      Row{"screen smaller than the window", {400, 100}, {QRect(0, 0, 320, 240)}, {160, 100}},
                      Row{"screen lower than the header", {0, 50}, {QRect(0, 0, 800, 20)}, {0, 0}},
                      Row{"no screen", {-9000, 9000}, {}, {-9000, 9000}}));

constexpr char Windows[] = R"(
import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Templates 2.15 as T
T.ApplicationWindow {
    visible: true
    width: 735; height: 540
    header: Item { implicitHeight: 32 }
    property Window dialog: T.ApplicationWindow {
        width: 500; height: 234
        header: Item { implicitHeight: 32 }
    }
    property Window popup: Window { width: 350; height: 162 }
}
)";

bool IsInReach(const QWindow& window) {
    return ReachablePlace(window.geometry(), Header, {QRect(0, 0, 800, 800)}) == window.position();
}

bool ComesBack(const QWindow& window) {
    const QDeadlineTimer deadline(std::chrono::seconds(20));
    while (!IsInReach(window) && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    return IsInReach(window);
}

class WindowsReachTest : public gui::test::ProcessTest {
protected:
    void LeadAway() {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        Begin();
        QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
        QGuiApplication app(m_argc, m_argv);
        QQmlApplicationEngine engine;
        engine.loadData(Windows);
        CHECK(engine.rootObjects().size() == 1);
        auto* const main = qobject_cast<QWindow*>(engine.rootObjects().constFirst());
        const WindowsReach reach(main);
        main->setPosition(-5000, 100);
        Check(ComesBack(*main), "the main window comes back");
        for (const char* const name : {"dialog", "popup"}) {
            auto* const window = main->property(name).value<QWindow*>();
            window->show();
            window->requestActivate();
            while (QGuiApplication::focusWindow() != window)
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            window->setPosition(300, 5000);
        }
        Check(ComesBack(*main->property("dialog").value<QWindow*>()), "so does a dialog");
        Check(!IsInReach(*main->property("popup").value<QWindow*>()), "what has no header stays where it was put");
        std::exit(Passed);
    }
};

TEST_P(WindowsReachTest, ofAllWindowsWithAHeader) { EXPECT_EXIT(LeadAway(), ::testing::ExitedWithCode(Passed), ""); }

INSTANTIATE_TEST_SUITE_P(Dispatchers, WindowsReachTest, ::testing::Values("unix"));

} // namespace
} // namespace tfs::tools
