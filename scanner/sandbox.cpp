// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/landlock.h>
#include <scanner/sandbox.h>
#include <scanner/syscall_filter.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <system_error>
#include <unistd.h>

namespace tfs::scanner {
namespace {

constexpr rlim_t OpenFiles = 256;

void Limit(__rlimit_resource resource, rlim_t value) {
    const rlimit limit{value, value};
    if (::setrlimit(resource, &limit) != 0)
        throw std::system_error(errno, std::generic_category(), "resource limit");
}

} // namespace

std::uint64_t AddressSpaceInUse() {
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

bool EnterSandbox(const std::string& folder, int channel, const WorkerLimits& limits) {
    Limit(RLIMIT_CORE, 0);
    Limit(RLIMIT_NOFILE, OpenFiles);
    Limit(RLIMIT_FSIZE, limits.fileSize);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    Limit(RLIMIT_AS, limits.addressSpace);
#endif
    // A write beyond the limits is an error for the engine to handle and not the end of the worker.
    ::signal(SIGXFSZ, SIG_IGN);
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        throw std::system_error(errno, std::generic_category(), "no_new_privs");
    const bool files = LimitFilesTo(folder);
    FilterSystemCalls(channel);
    return files;
}

} // namespace tfs::scanner
