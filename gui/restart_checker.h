// SPDX-License-Identifier: GPL-2.0-or-later
// Watches for an update that replaces the program on disk while it runs.
#pragma once

#include <foundation/monotonic_event.h>

#include <chrono>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace tfs::gui {

/// Lives on main's stack. If the file at the installed path is no longer the one that this process was started from,
/// its thread ends the event loop, and the destructor, run when everything else has gone, executes the new program in
/// place with the same arguments. A process started from any other place has no thread.
class RestartChecker {
public:
    struct Options {
        std::string installedPath;
        std::chrono::milliseconds interval;
        /// Ends the event loop; called on the checker's thread.
        std::function<void()> quit;
        /// As execv: returns only where it failed.
        std::function<void(const char* path, char* const* argv)> execute;
    };
    static Options DefaultOptions();

    /// `argv` must outlive the object.
    RestartChecker(int argc, char** argv, Options options = DefaultOptions());
    /// May never return.
    ~RestartChecker();
    RestartChecker(const RestartChecker&) = delete;
    RestartChecker& operator=(const RestartChecker&) = delete;

    bool IsWatching() const noexcept { return m_thread.joinable(); }

private:
    int Run();
    void Check();

    std::vector<char*> m_argv; ///< ends with a null pointer, as execv wants it
    struct stat m_selfStat {};
    std::thread m_thread; ///< begun by the constructor's body, when all below is there
    ulk::MonotonicEvent m_stopRequested{/*autoReset=*/false};
    bool m_restartRequested = false; ///< the thread's, and the destructor's when it has ended
    const Options m_options;
};

} // namespace tfs::gui
