// SPDX-License-Identifier: GPL-2.0-or-later
// One run of the signature updater as a process of its own.
#pragma once

#include <contract/scanner_channel.h>
#include <service/update/freshclam_config.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <sys/types.h>

namespace tfs::service::update {

struct FreshclamPrograms {
    std::string freshclam = "/usr/bin/freshclam";
    std::string setpriv = "/usr/bin/setpriv"; ///< takes the rights away before the updater begins
    std::string prlimit = "/usr/bin/prlimit";
    std::uint64_t maxFileBytes = std::uint64_t{2} << 30;        ///< the updater ends when a file would grow beyond it
    std::chrono::milliseconds deadline = std::chrono::hours(1); ///< for a whole run
};

enum class FetchEnd {
    Updated,
    NothingToUpdate,
    Failed,
    Stopped, ///< by Stop
};

struct FetchResult {
    FetchEnd end = FetchEnd::Failed;
    std::string why; ///< with Failed: one line for people
};

/// Called on the thread of Run.
struct FetchObserver {
    std::function<void(std::uint32_t percent)> progress; ///< of the whole run; never falls
    std::function<void(const std::string& file)> tested; ///< has come, and is tested; again where it comes again
    std::function<void(const std::string& file)> updated;
};

/// The updater runs under an unprivileged account with no capability and no way to gain one, in a process group of its
/// own, with an empty environment and nothing open but what it is handed; it ends with the thread that runs it.
class FreshclamProcess {
public:
    explicit FreshclamProcess(FreshclamPrograms programs);
    ~FreshclamProcess();
    FreshclamProcess(const FreshclamProcess&) = delete;
    FreshclamProcess& operator=(const FreshclamProcess&) = delete;

    /// Blocks until the updater has ended or was ended, and all of its group with it. One at a time.
    FetchResult Run(const FreshclamJob& job, const FetchObserver& observer);
    /// From any thread: the run under way, and every later one, ends at once.
    void Stop() noexcept;

private:
    class Watch;

    std::string Start(const FreshclamJob& job, scanner::Descriptor& output);
    int EndGroup() noexcept;

    const FreshclamPrograms m_programs;
    const scanner::Descriptor m_stop;
    pid_t m_pid = -1;
};

} // namespace tfs::service::update
