// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/syscall_filter.h>

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <system_error>

namespace tfs::scanner {
namespace {

/// What the engine and the C library were seen to need while all kinds of containers were scanned.
constexpr int Allowed[] = {
    // memory
    SCMP_SYS(brk),
    SCMP_SYS(madvise),
    SCMP_SYS(mremap),
    SCMP_SYS(munmap),
    // temporary files, inside the worker's folder
    SCMP_SYS(close),
    SCMP_SYS(dup),
    SCMP_SYS(fstat),
    SCMP_SYS(fstatfs),
    SCMP_SYS(fsync),
    SCMP_SYS(ftruncate),
    SCMP_SYS(getdents64),
    SCMP_SYS(lseek),
    SCMP_SYS(lstat),
    SCMP_SYS(mkdir),
    SCMP_SYS(mkdirat),
    SCMP_SYS(newfstatat),
    SCMP_SYS(open),
    SCMP_SYS(openat),
    SCMP_SYS(pread64),
    SCMP_SYS(pwrite64),
    SCMP_SYS(read),
    SCMP_SYS(readv),
    SCMP_SYS(rename),
    SCMP_SYS(rmdir),
    SCMP_SYS(stat),
    SCMP_SYS(statx),
    SCMP_SYS(unlink),
    SCMP_SYS(unlinkat),
    SCMP_SYS(write),
    SCMP_SYS(writev),
    // time, randomness, locks, ending
    SCMP_SYS(clock_gettime),
    SCMP_SYS(clock_nanosleep),
    SCMP_SYS(exit),
    SCMP_SYS(exit_group),
    SCMP_SYS(futex),
    SCMP_SYS(getpid),
    SCMP_SYS(getrandom),
    SCMP_SYS(getrusage),
    SCMP_SYS(gettid),
    SCMP_SYS(gettimeofday),
    SCMP_SYS(nanosleep),
    SCMP_SYS(restart_syscall),
    SCMP_SYS(rt_sigaction),
    SCMP_SYS(rt_sigprocmask),
    SCMP_SYS(rt_sigreturn),
    SCMP_SYS(sched_yield),
    SCMP_SYS(sigaltstack),
    SCMP_SYS(time),
    SCMP_SYS(umask),
    SCMP_SYS(uname),
    SCMP_SYS(sysinfo),
    SCMP_SYS(getuid),
    SCMP_SYS(geteuid),
    SCMP_SYS(getgid),
    SCMP_SYS(getegid),
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    SCMP_SYS(pipe2), // by which it looks whether memory can be read
    SCMP_SYS(readlink),
    SCMP_SYS(sched_getaffinity),
#endif
};

/// Asked for in passing where the answer "no" does no harm. The mode of a file that was handed to us must not be ours
/// to change where the service runs as the files' owner.
constexpr int Refused[] = {SCMP_SYS(access),     SCMP_SYS(faccessat), SCMP_SYS(faccessat2), SCMP_SYS(readlink),
                           SCMP_SYS(getcwd),     SCMP_SYS(clone3),    SCMP_SYS(prlimit64),  SCMP_SYS(sched_getaffinity),
                           SCMP_SYS(readlinkat), SCMP_SYS(ioctl),     SCMP_SYS(statfs),     SCMP_SYS(utimensat),
                           SCMP_SYS(link),       SCMP_SYS(symlink),   SCMP_SYS(chmod),      SCMP_SYS(fchmod),
                           SCMP_SYS(fchmodat)};

/// What may be asked of a descriptor. Whom its signals go to is not among it: they reach every process of the account.
constexpr int DescriptorCommands[] = {F_DUPFD, F_DUPFD_CLOEXEC, F_GETFD, F_SETFD, F_GETFL};

void Check(int result) {
    if (result < 0 && result != -EEXIST)
        throw std::system_error(-result, std::generic_category(), "system call filter");
}

struct FilterReleaser {
    void operator()(void* filter) const noexcept { seccomp_release(filter); }
};

} // namespace

void FilterSystemCalls(int channel) {
    const std::unique_ptr<void, FilterReleaser> filter(seccomp_init(SCMP_ACT_KILL_PROCESS));
    if (!filter)
        throw std::system_error(ENOMEM, std::generic_category(), "system call filter");
    Check(seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_OPTIMIZE, 2));
    for (const int call : Allowed)
        Check(seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, call, 0));
    const scmp_arg_cmp onChannel{0, SCMP_CMP_EQ, static_cast<scmp_datum_t>(channel), 0};
    for (const int call : {SCMP_SYS(recvmsg), SCMP_SYS(sendmsg)})
        Check(seccomp_rule_add_array(filter.get(), SCMP_ACT_ALLOW, call, 1, &onChannel));
    for (const int command : DescriptorCommands) {
        const scmp_arg_cmp isCommand{1, SCMP_CMP_EQ, static_cast<scmp_datum_t>(command), 0};
        Check(seccomp_rule_add_array(filter.get(), SCMP_ACT_ALLOW, SCMP_SYS(fcntl), 1, &isCommand));
    }
    // Memory that can be run is never made.
    const scmp_arg_cmp notExecutable{2, SCMP_CMP_MASKED_EQ, PROT_EXEC, 0};
    for (const int call : {SCMP_SYS(mmap), SCMP_SYS(mprotect)})
        Check(seccomp_rule_add_array(filter.get(), SCMP_ACT_ALLOW, call, 1, &notExecutable));
    for (const int call : Refused)
        seccomp_rule_add(filter.get(), SCMP_ACT_ERRNO(call == SCMP_SYS(clone3) ? ENOSYS : EPERM), call, 0);
    Check(seccomp_load(filter.get()));
}

} // namespace tfs::scanner
