// SPDX-License-Identifier: GPL-2.0-or-later
// An update may be noticed before the event loop runs; the program must end all the same.
#include "process_test.h"

#include <gui/quit_request.h>
#include <gui/restart_checker.h>

#include <QtCore/QCoreApplication>
#include <thread>

namespace tfs::gui {
namespace {

class QuitRequestTest : public test::ProcessTest {
protected:
    static void RequestFromAnotherThread() { std::thread(RestartChecker::DefaultOptions().quit).join(); }

    void AfterTheApplication() {
        Begin();
        QCoreApplication app(m_argc, m_argv);
        const QuitTarget target;
        RequestFromAnotherThread();
        CHECK(QCoreApplication::exec() == 0);
        std::exit(Passed);
    }
    void BeforeTheApplication() {
        Begin();
        RequestFromAnotherThread();
        QCoreApplication app(m_argc, m_argv);
        const QuitTarget target;
        RenewQuitRequest();
        CHECK(QCoreApplication::exec() == 0);
        std::exit(Passed);
    }
    void SwallowedByAnotherLoop() {
        Begin();
        QCoreApplication app(m_argc, m_argv);
        const QuitTarget target;
        RequestFromAnotherThread();
        QCoreApplication::processEvents();
        RenewQuitRequest();
        CHECK(QCoreApplication::exec() == 0);
        std::exit(Passed);
    }
    void AfterTheApplicationHasGone() {
        Begin();
        {
            QCoreApplication app(m_argc, m_argv);
            const QuitTarget target;
        }
        RequestFromAnotherThread();
        std::exit(Passed);
    }
    /// Renewing what nobody has asked for ends nothing.
    void NotRequested() {
        Begin();
        QCoreApplication app(m_argc, m_argv);
        const QuitTarget target;
        RenewQuitRequest();
        QMetaObject::invokeMethod(
            &app, [] { QCoreApplication::exit(5); }, Qt::QueuedConnection);
        CHECK(QCoreApplication::exec() == 5);
        std::exit(Passed);
    }
};

TEST_P(QuitRequestTest, isNotLostBeforeTheEventLoop) {
    EXPECT_EXIT(AfterTheApplication(), ::testing::ExitedWithCode(Passed), "");
    EXPECT_EXIT(BeforeTheApplication(), ::testing::ExitedWithCode(Passed), "");
    EXPECT_EXIT(SwallowedByAnotherLoop(), ::testing::ExitedWithCode(Passed), "");
}

TEST_P(QuitRequestTest, doesNothingWithoutAnApplicationOrARequest) {
    EXPECT_EXIT(AfterTheApplicationHasGone(), ::testing::ExitedWithCode(Passed), "");
    EXPECT_EXIT(NotRequested(), ::testing::ExitedWithCode(Passed), "");
}

INSTANTIATE_TEST_SUITE_P(Dispatchers, QuitRequestTest, test::Dispatchers());

} // namespace
} // namespace tfs::gui
