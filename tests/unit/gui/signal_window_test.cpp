// SPDX-License-Identifier: GPL-2.0-or-later
// Signals wait for the event loop and are taken between two of its events.
#include "process_test.h"
#include "temp_folder.h"

#include <gui/signal_handlers.h>
#include <gui/signal_window.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QProcess>
#include <QtCore/QTimer>
#include <QtGui/QGuiApplication>
#include <QtGui/QWindow>
#include <atomic>
#include <csignal>
#include <fstream>
#include <pthread.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>

namespace tfs::gui {
namespace {

constexpr int Held[] = {SIGINT, SIGTERM, SIGUSR1};

bool AreBlocked(bool expected) {
    sigset_t mask;
    (void)::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    for (const int signum : Held) {
        if (::sigismember(&mask, signum) != int{expected})
            return false;
    }
    return true;
}

std::atomic<bool> isBusy{false};
std::atomic<int> deliveries{0};
std::atomic<int> strayDeliveries{0};
pthread_t guiThread;

void Count(int) {
    if (isBusy || ::pthread_equal(::pthread_self(), guiThread) == 0)
        ++strayDeliveries;
    ++deliveries;
}

std::string MaskLine(const std::string& path) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("SigBlk:", 0) == 0)
            return line;
    }
    return "";
}

class SignalWindowTest : public test::ProcessTest {
protected:
    /// A signal that came before there was a handler waits, and ends the loop at once.
    void EarlySignal(int signum) {
        Begin();
        HoldSignals();
        ::kill(::getpid(), signum);
        QGuiApplication app(m_argc, m_argv);
        CHECK(InstallSignalHandlers() == ulk::sOk);
        const SignalWindow window;
        CHECK(QGuiApplication::exec() == 0);
        CHECK(AreBlocked(true));
        std::exit(Passed);
    }

    /// Nothing else wakes the loop: a signal that only sets a flag would leave it asleep.
    void SignalToASleepingLoop() {
        Begin();
        HoldSignals();
        QGuiApplication app(m_argc, m_argv);
        CHECK(InstallSignalHandlers() == ulk::sOk);
        const SignalWindow window;
        std::atomic<int> passes{0};
        QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                         [&passes] { ++passes; });
        std::thread sender([&passes] {
            while (passes == 0)
                std::this_thread::yield();
            ::kill(::getpid(), SIGTERM);
        });
        CHECK(QGuiApplication::exec() == 0);
        sender.join();
        std::exit(Passed);
    }

    /// A storm of signals while timers, posted events and descriptors are at work.
    void Storm() {
        Begin();
        HoldSignals();
        guiThread = ::pthread_self();
        QGuiApplication app(m_argc, m_argv);
        ::signal(SIGUSR1, &Count);
        ::signal(SIGTERM, [](int) { QCoreApplication::quit(); });
        const SignalWindow window;
        std::atomic<bool> isOver{false};
        std::thread sender([&isOver] {
            while (!isOver) {
                ::kill(::getpid(), SIGUSR1);
                std::this_thread::yield();
            }
        });
        int pipeEnds[2];
        CHECK(::pipe(pipeEnds) == 0);
        CHECK(::write(pipeEnds[1], "x", 1) == 1);
        const auto work = [] {
            isBusy = true;
            const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(200);
            while (std::chrono::steady_clock::now() < end)
                std::this_thread::yield();
            isBusy = false;
        };
        QSocketNotifier readable(pipeEnds[0], QSocketNotifier::Read);
        QObject::connect(&readable, &QSocketNotifier::activated, work);
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&app, &work] {
            work();
            QMetaObject::invokeMethod(&app, work, Qt::QueuedConnection);
            if (deliveries > 200)
                ::kill(::getpid(), SIGTERM);
        });
        timer.start(1);
        CHECK(QGuiApplication::exec() == 0);
        isOver = true;
        sender.join();
        CHECK(strayDeliveries == 0);
        std::exit(Passed);
    }

    void SecondStart() {
        Begin();
        HoldSignals();
        QGuiApplication app(m_argc, m_argv);
        CHECK(InstallSignalHandlers() == ulk::sOk);
        QWindow plain;
        QWindow dialog;
        dialog.setModality(Qt::ApplicationModal);
        const SignalWindow window;
        ::kill(::getpid(), SIGUSR1);
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&plain] {
            if (plain.isVisible())
                QCoreApplication::quit();
        });
        timer.start(1);
        CHECK(QGuiApplication::exec() == 0);
        CHECK(!dialog.isVisible());
        std::exit(Passed);
    }

    void Handlers() {
        Begin();
        CHECK(InstallSignalHandlers() == ulk::sOk);
        const auto handlerOf = [](int signum) {
            struct sigaction action {};
            (void)::sigaction(signum, nullptr, &action);
            return action.sa_handler;
        };
        const sighandler_t handler = handlerOf(SIGINT);
        CHECK(handler != SIG_DFL && handler != SIG_IGN);
        CHECK(handlerOf(SIGTERM) == handler);
        CHECK(handlerOf(SIGUSR1) == handler);
        CHECK(handlerOf(SIGPIPE) == SIG_IGN);
        CHECK(handlerOf(SIGHUP) == SIG_IGN);
        CHECK(InstallSignalHandlers() == ulk::eUnspecified);
        std::exit(Passed);
    }

    void Children() {
        Begin();
        const std::string before = MaskLine("/proc/thread-self/status");
        HoldSignals();
        CHECK(AreBlocked(true));
        std::thread([] { CHECK(AreBlocked(true)); }).join();
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(AreBlocked(false) ? 0 : 1);
        int status = -1;
        CHECK(::waitpid(child, &status, 0) == child && status == 0);
        // As pages of the help are opened.
        QCoreApplication app(m_argc, m_argv);
        const test::TempFolder folder;
        const std::string told = folder.Path("status");
        const std::string command = "cp /proc/self/status " + told + ".new && mv " + told + ".new " + told;
        CHECK(QProcess::startDetached(QStringLiteral("sh"), {QStringLiteral("-c"), QString::fromStdString(command)}));
        while (::access(told.c_str(), F_OK) != 0)
            std::this_thread::yield();
        CHECK(!before.empty() && MaskLine(told) == before);
        std::exit(Passed);
    }

    void Release() {
        Begin();
        HoldSignals();
        CHECK(InstallSignalHandlers() == ulk::sOk);
        ::kill(::getpid(), SIGUSR1);
        ReleaseSignals();
        CHECK(AreBlocked(false));
        ::kill(::getpid(), SIGUSR1);
        std::exit(Passed);
    }

    void ReleaseWithAWishToEnd() {
        Begin();
        HoldSignals();
        CHECK(InstallSignalHandlers() == ulk::sOk);
        ::kill(::getpid(), SIGTERM);
        ReleaseSignals();
        std::exit(Passed);
    }
};

TEST_P(SignalWindowTest, anEarlySignalEndsTheLoop) {
    EXPECT_EXIT(EarlySignal(SIGTERM), ::testing::ExitedWithCode(Passed), "");
    EXPECT_EXIT(EarlySignal(SIGINT), ::testing::ExitedWithCode(Passed), "");
}

TEST_P(SignalWindowTest, aSignalWakesASleepingLoop) {
    EXPECT_EXIT(SignalToASleepingLoop(), ::testing::ExitedWithCode(Passed), "");
}

TEST_P(SignalWindowTest, aHandlerNeverRunsInTheMiddleOfAnEvent) {
    EXPECT_EXIT(Storm(), ::testing::ExitedWithCode(Passed), "");
}

TEST_P(SignalWindowTest, aSecondStartShowsTheWindowsThatAreNotModal) {
    EXPECT_EXIT(SecondStart(), ::testing::ExitedWithCode(Passed), "");
}

INSTANTIATE_TEST_SUITE_P(Dispatchers, SignalWindowTest, test::Dispatchers());

using HeldSignalsTest = SignalWindowTest;

TEST_P(HeldSignalsTest, handlersAreInstalledOnce) { EXPECT_EXIT(Handlers(), ::testing::ExitedWithCode(Passed), ""); }

TEST_P(HeldSignalsTest, anAbortEndsTheProcessQuietlyOnlyWhileItsGuardLives) {
    EXPECT_EXIT(
        {
            const AbortExit guard;
            std::abort();
        },
        ::testing::ExitedWithCode(1), "");
    const sighandler_t before = ::signal(SIGABRT, SIG_DFL);
    EXPECT_THROW(
        {
            const AbortExit guard;
            throw std::runtime_error("no application");
        },
        std::runtime_error);
    EXPECT_EQ(::signal(SIGABRT, before), SIG_DFL);
}

TEST_P(HeldSignalsTest, threadsInheritTheMaskAndChildrenDoNot) {
    EXPECT_EXIT(Children(), ::testing::ExitedWithCode(Passed), "");
}

TEST_P(HeldSignalsTest, aProgramExecutedInPlaceHasTheMaskOfBefore) {
    EXPECT_EXIT(Release(), ::testing::ExitedWithCode(Passed), "");
    EXPECT_EXIT(ReleaseWithAWishToEnd(), ::testing::KilledBySignal(SIGTERM), "");
}

INSTANTIATE_TEST_SUITE_P(Any, HeldSignalsTest, ::testing::Values("unix"));

} // namespace
} // namespace tfs::gui
