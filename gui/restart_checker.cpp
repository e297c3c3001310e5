// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/product_paths.h>
#include <foundation/thread_runnable.h>
#include <gui/common/exception_text.h>
#include <gui/quit_request.h>
#include <gui/restart_checker.h>
#include <gui/signal_window.h>

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace tfs::gui {
namespace {

bool IsSameFile(const struct stat& a, const struct stat& b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

} // namespace

RestartChecker::Options RestartChecker::DefaultOptions() {
    return {tfs::paths::GuiProgram, std::chrono::seconds(5), &RequestQuit, [](const char* path, char* const* argv) {
                ReleaseSignals();
                ::execv(path, argv);
            }};
}

RestartChecker::RestartChecker(int argc, char** argv, Options options)
    : m_argv(argv, argv + argc), m_options(std::move(options)) {
    m_argv.push_back(nullptr);
    struct stat installed {};
    if (::stat("/proc/self/exe", &m_selfStat) == 0 && ::stat(m_options.installedPath.c_str(), &installed) == 0 &&
        IsSameFile(m_selfStat, installed))
        m_thread = std::thread(ulk::detail::ThreadRunnableMemFn(this, &RestartChecker::Run));
}

RestartChecker::~RestartChecker() {
    if (m_thread.joinable()) {
        m_stopRequested.Set();
        m_thread.join();
    }
    if (m_restartRequested)
        m_options.execute(m_options.installedPath.c_str(), m_argv.data());
}

int RestartChecker::Run() {
    timespec reading{};
    for (;;) {
        // A clock that can't be read leaves the last reading, and the wait is made from there.
        (void)ulk::ReadMonotonicClock(reading);
        // A wait that fails is over; there is the check to be made all the same.
        if (m_stopRequested.WaitUntil(ulk::After(reading, m_options.interval)) == ulk::MonotonicEvent::Wait::Set)
            return 0;
        try {
            Check();
        }
        GUI_CATCH_ALL
    }
}

void RestartChecker::Check() {
    const char* const path = m_options.installedPath.c_str();
    if (::access(path, X_OK) != 0 && errno == EACCES) {
        m_stopRequested.Set();
        m_options.quit();
        return;
    }
    struct stat installed {};
    // A file that is missing for a moment during an update doesn't end the program.
    if (::stat(path, &installed) != 0 || IsSameFile(m_selfStat, installed))
        return;
    m_stopRequested.Set();
    m_restartRequested = true; // read after the join
    m_options.quit();
}

} // namespace tfs::gui
