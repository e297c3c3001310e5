// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/scanner_protocol.h>
#include <scanner/self_test.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tfs::scanner {
namespace {

struct Attempt {
    const char* name;
    bool (*succeeds)(); ///< true when the sandbox let it happen
};

bool Opens(const char* path, int flags) { return ::open(path, flags | O_CLOEXEC, 0600) >= 0; }

const Attempt Attempts[] = {
    {"open /etc/passwd", [] { return Opens("/etc/passwd", O_RDONLY); }},
    {"open /proc/self/status", [] { return Opens("/proc/self/status", O_RDONLY); }},
    {"list the root folder", [] { return Opens("/", O_RDONLY | O_DIRECTORY); }},
    {"write beside the own folder", [] { return Opens("../stray", O_WRONLY | O_CREAT); }},
    {"write to /tmp", [] { return Opens("/tmp/tesl-scanner-stray", O_WRONLY | O_CREAT); }},
    {"socket", [] { return ::socket(AF_UNIX, SOCK_STREAM, 0) >= 0; }},
    {"internet socket", [] { return ::socket(AF_INET, SOCK_STREAM, 0) >= 0; }},
    {"execve",
     [] {
         char program[] = "/bin/true";
         char* arguments[] = {program, nullptr};
         ::execve(program, arguments, arguments + 1);
         return true; // only the kernel's veto doesn't come back
     }},
    {"fork", [] { return ::syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr) >= 0; }},
    {"send a signal", [] { return ::kill(::getpid(), 0) == 0; }},
    {"direct a descriptor's signals", [] { return ::fcntl(STDOUT_FILENO, F_SETOWN, ::getpid()) == 0; }},
    {"change a file's mode",
     [] {
         const int file = ::open("own", O_RDWR | O_CREAT | O_CLOEXEC, 0600);
         return ::unlink("own") != 0 || ::fchmod(file, 0666) == 0;
     }},
    {"ptrace", [] { return ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0; }},
    {"become root", [] { return ::setuid(0) == 0; }},
    {"executable memory",
     [] {
         return ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) !=
                MAP_FAILED;
     }},
    {"write to another socket", [] { return ::send(2, "x", 1, 0) >= 0; }},
    {"memory without limit",
     [] { return ::mmap(nullptr, std::size_t{1} << 42, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED; }},
};

constexpr int SetUpFailed = 98;
constexpr int LetThrough = 99;

/// What must go on working, so that "held" doesn't mean "everything is broken".
bool OwnFolderWorks() {
    const int file = ::open("own", O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    return file >= 0 && ::write(file, "x", 1) == 1 && ::unlink("own") == 0;
}

int RunSandboxed(const std::string& folder, const WorkerLimits& limits, bool (*action)()) {
    const pid_t child = ::fork();
    if (child == 0) {
        try {
            if (::chdir(folder.c_str()) != 0)
                ::_exit(SetUpFailed);
            EnterSandbox(folder, ControlDescriptor, limits);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "tesl-scanner: %s\n", error.what());
            ::_exit(SetUpFailed);
        }
        ::_exit(action() ? LetThrough : 0);
    }
    int status = SetUpFailed << 8;
    if (child > 0)
        ::waitpid(child, &status, 0);
    return status;
}

} // namespace

int SelfTest(const PrivateRoot& root, const WorkerLimits& limits) {
    const std::string folder = (root.folder == "/" ? "/" : root.folder + "/") + "self-test";
    if (::mkdir(folder.c_str(), 0700) != 0) {
        std::perror("tesl-scanner: self-test");
        return 1;
    }
    std::printf("sandbox: %s\n", root.description.c_str());
    bool held = true;
    const auto report = [&](const char* name, bool good, int status) {
        held = held && good;
        if (good)
            std::printf("%s: held\n", name);
        else
            std::printf("%s: broken (status %d)\n", name, status);
    };
    const int own = RunSandboxed(folder, limits, OwnFolderWorks);
    report("own folder", WIFEXITED(own) && WEXITSTATUS(own) == LetThrough, own);
    for (const Attempt& attempt : Attempts) {
        const int status = RunSandboxed(folder, limits, attempt.succeeds);
        const bool refused = WIFEXITED(status) && WEXITSTATUS(status) == 0;
        const bool killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGSYS;
        report(attempt.name, refused || killed, status);
    }
    ::rmdir(folder.c_str());
    return held ? 0 : 1;
}

} // namespace tfs::scanner
