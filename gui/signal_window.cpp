// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <gui/signal_window.h>

#include <cerrno>
#include <csignal>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace tfs::gui {
namespace {

constexpr int HeldSignals[] = {SIGINT, SIGTERM, SIGUSR1};

/// Written once by main before there are threads.
sigset_t originalMask;

sigset_t SetOf(int signum) {
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, signum);
    return set;
}

sigset_t HeldSet() {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signum : HeldSignals)
        ::sigaddset(&set, signum);
    return set;
}

void RestoreMask() { (void)::pthread_sigmask(SIG_SETMASK, &originalMask, nullptr); }

/// One signal at a time: a handler that is at work must not be interrupted by another.
void LetIn() {
    for (const int signum : HeldSignals) {
        const sigset_t set = SetOf(signum);
        (void)::pthread_sigmask(SIG_UNBLOCK, &set, nullptr); // its handler runs before this returns
        (void)::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    }
}

int OpenDescriptor() {
    const sigset_t set = HeldSet();
    const int descriptor = ::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor == -1)
        ULK_CHECK_THROW(ulk::ResultFromErrno(errno), "Cannot watch for signals");
    return descriptor;
}

} // namespace

void HoldSignals() {
    const sigset_t set = HeldSet();
    (void)::pthread_sigmask(SIG_BLOCK, &set, &originalMask);
    // A browser that is opened for the help pages must listen to signals.
    (void)::pthread_atfork(nullptr, nullptr, &RestoreMask);
}

void ReleaseSignals() noexcept {
    (void)::signal(SIGUSR1, SIG_IGN);
    for (const int signum : {SIGINT, SIGTERM}) {
        struct sigaction action {};
        if (::sigaction(signum, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            (void)::signal(signum, SIG_DFL);
    }
    RestoreMask();
}

SignalWindow::SignalWindow()
    : m_descriptor(OpenDescriptor()),
      m_notifier(std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read)) {
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, &LetIn);
}

SignalWindow::~SignalWindow() {
    m_notifier.reset();
    ::close(m_descriptor);
}

} // namespace tfs::gui
