// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/trace.h>
#include <gui/common/application.h>
#include <gui/signal_handlers.h>

#include <QtGui/QGuiApplication>
#include <QtGui/QWindow>
#include <cstdint>
#include <cstdlib>
#include <sstream>

namespace tfs::gui {
namespace {

/// Runs in signal context and calls Qt directly. It may: main holds signals back, and the event loop lets them in on
/// the GUI thread between two events only.
void OnSignal(int signum) {
    if (signum != SIGUSR1) {
        QCoreApplication::quit();
        return;
    }
    for (QWindow* const window : QGuiApplication::topLevelWindows()) {
        if (window->modality() == Qt::NonModal)
            window->show();
    }
}

std::string Hexadecimal(sighandler_t handler) {
    std::ostringstream text;
    text << std::hex << reinterpret_cast<std::uintptr_t>(handler);
    return text.str();
}

void ExitOnAbort(int) { std::exit(1); }

} // namespace

result_t InstallSignalHandler(int signum, sighandler_t handler) {
    const sighandler_t previous = ::signal(signum, handler);
    if (previous == SIG_ERR) {
        ULK_TRACE(application::GetTracer(), ulk::level::Failure) << "Cannot set signal handler for signum=" << signum;
        return ulk::eUnspecified;
    }
    if (previous != SIG_DFL && previous != SIG_IGN) {
        ULK_TRACE(application::GetTracer(), ulk::level::Failure)
            << "Signal handler is already set for signum=" << signum << " to " << Hexadecimal(previous) << " value";
        return ulk::eUnspecified;
    }
    return ulk::sOk;
}

result_t InstallSignalHandlers() {
    const struct {
        int signum;
        sighandler_t handler;
    } actions[] = {
        {SIGINT, &OnSignal}, {SIGTERM, &OnSignal}, {SIGUSR1, &OnSignal}, {SIGPIPE, SIG_IGN}, {SIGHUP, SIG_IGN}};
    for (const auto& action : actions) {
        if (const result_t result = InstallSignalHandler(action.signum, action.handler); !ULK_SUCCEEDED(result))
            return result;
    }
    return ulk::sOk;
}

AbortExit::AbortExit() : m_previous(::signal(SIGABRT, &ExitOnAbort)) {}

AbortExit::~AbortExit() { (void)::signal(SIGABRT, m_previous); }

} // namespace tfs::gui
