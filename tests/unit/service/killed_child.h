// SPDX-License-Identifier: GPL-2.0-or-later
// Work done in a child process that is killed right before one of its changes to the disk.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tfs::service::tests {

inline bool ChangesDisk(const __ptrace_syscall_info& call) {
    switch (call.entry.nr) {
    case SYS_openat:
        return (call.entry.args[2] & O_CREAT) != 0;
    case SYS_write:
    case SYS_pwrite64:
    case SYS_ftruncate:
    case SYS_fsetxattr:
    case SYS_renameat:
    case SYS_renameat2:
    case SYS_unlinkat:
    case SYS_symlinkat:
    case SYS_linkat:
    case SYS_mkdirat:
    case SYS_fchmod:
    case SYS_fchown:
    case SYS_utimensat:
#ifdef SYS_unlink
    case SYS_rename:
    case SYS_unlink:
    case SYS_rmdir:
    case SYS_mkdir:
#endif
        return true;
    default:
        return false;
    }
}

/// Runs `work` in a child and kills the child as it is about to make its change number `count`, from 0. False where
/// the work ended before that; it must return true then.
template <class Work>
bool KilledBeforeChange(std::size_t count, Work work) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::raise(SIGSTOP);
        ::_exit(work() ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    int signal = 0;
    for (;;) {
        if (::ptrace(PTRACE_SYSCALL, child, nullptr, signal) != 0 || ::waitpid(child, &status, 0) != child)
            std::abort();
        if (WIFEXITED(status)) {
            if (WEXITSTATUS(status) != 0)
                std::abort();
            return false;
        }
        if (WIFSIGNALED(status))
            std::abort();
        signal = WSTOPSIG(status) == (SIGTRAP | 0x80) ? 0 : WSTOPSIG(status);
        __ptrace_syscall_info call{};
        if (signal != 0 || ::ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof call, &call) <= 0 ||
            call.op != PTRACE_SYSCALL_INFO_ENTRY || !ChangesDisk(call) || count-- != 0)
            continue;
        ::kill(child, SIGKILL);
        while (::waitpid(child, &status, 0) == child && !WIFSIGNALED(status) && !WIFEXITED(status)) {
        }
        return true;
    }
}

} // namespace tfs::service::tests
