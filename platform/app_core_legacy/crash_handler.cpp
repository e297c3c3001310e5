// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/string16.h>
#include <platform/app_core_legacy/crash_dump_folder.h>
#include <platform/app_core_legacy/crash_handler.h>
#include <platform/common/private_folder.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <exception>
#include <execinfo.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace platform::app_core_legacy {
namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGSYS};
constexpr std::size_t kPatternSize = 128;
constexpr int kMostFrames = 64;
constexpr std::size_t kHandlerStack = 64 * 1024;

// What the handler needs, made ready beforehand: in a crash nothing may be allocated or locked.
char g_pattern[kPatternSize];
int g_folder = -1;
std::atomic<int> g_dumpingThread{0};
alignas(16) char g_stack[kHandlerStack];
stack_t g_previousStack{};
struct sigaction g_previous[std::size(kSignals)];
bool g_taken[std::size(kSignals)];

int ThreadId() noexcept { return static_cast<int>(::syscall(SYS_gettid)); }

void Write(int fd, const char* text, std::size_t size) noexcept {
    while (size > 0) {
        const ssize_t written = ::write(fd, text, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return;
        text += written;
        size -= static_cast<std::size_t>(written);
    }
}

void Write(int fd, const char* text) noexcept { Write(fd, text, std::strlen(text)); }

void WriteNumber(int fd, std::uint64_t value, unsigned base) noexcept {
    char digits[32];
    char* next = digits + sizeof digits;
    do {
        *--next = "0123456789abcdef"[value % base];
        value /= base;
    } while (value != 0);
    Write(fd, next, static_cast<std::size_t>(digits + sizeof digits - next));
}

void WriteField(int fd, const char* name, std::uint64_t value) noexcept {
    Write(fd, name);
    WriteNumber(fd, value, 10);
    Write(fd, "\n");
}

void CopyFile(int fd, const char* path) noexcept {
    const int source = ::open(path, O_RDONLY | O_CLOEXEC);
    if (source < 0)
        return;
    char buffer[4096];
    for (ssize_t size; (size = ::read(source, buffer, sizeof buffer)) > 0;)
        Write(fd, buffer, static_cast<std::size_t>(size));
    ::close(source);
}

void WriteDump(int signal, const siginfo_t* info) noexcept {
    char name[kPatternSize * 2];
    const std::time_t now = ::time(nullptr);
    FillDumpName(name, sizeof name, g_pattern, now, ::getpid());
    const int fd = ::openat(g_folder, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0)
        return;
    WriteField(fd, "signal: ", static_cast<std::uint64_t>(signal));
    WriteField(fd, "time: ", static_cast<std::uint64_t>(now));
    WriteField(fd, "pid: ", static_cast<std::uint64_t>(::getpid()));
    WriteField(fd, "thread: ", static_cast<std::uint64_t>(ThreadId()));
    Write(fd, "address: 0x");
    WriteNumber(fd, reinterpret_cast<std::uintptr_t>(info->si_addr), 16);
    Write(fd, "\nprogram: ");
    CopyFile(fd, "/proc/self/comm");
    Write(fd, "stack:\n");
    void* frames[kMostFrames];
    ::backtrace_symbols_fd(frames, ::backtrace(frames, kMostFrames), fd);
    Write(fd, "maps:\n");
    CopyFile(fd, "/proc/self/maps");
    ::close(fd);
}

/// The process ends as if there had been no handler.
void EndBy(int signal) noexcept {
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    ::sigaction(signal, &standard, nullptr);
    ::raise(signal); // blocked here, delivered on return
}

void OnCrash(int signal, siginfo_t* info, void*) {
    const int savedErrno = errno;
    const int self = ThreadId();
    int nobody = 0;
    if (g_dumpingThread.compare_exchange_strong(nobody, self)) {
        WriteDump(signal, info);
    } else if (nobody != self) {
        // Another thread is writing its dump and will end the process; not for ever, should it hang.
        const timespec pause{2, 0};
        ::nanosleep(&pause, nullptr);
    }
    // Crashed while writing the dump: nothing more to be had.
    EndBy(signal);
    errno = savedErrno;
}

} // namespace

CrashHandler::CrashHandler(const app_core::loader::CrashDumpSettings& settings) {
    try {
        if (g_folder == -1 && PrepareFolder(settings))
            Install();
    } catch (const std::exception&) {
        // The program runs without, then.
    }
}

bool CrashHandler::PrepareFolder(const app_core::loader::CrashDumpSettings& settings) {
    const std::string folder = ulk::text::ToUtf8Lossy(settings.folder);
    const std::string pattern = ulk::text::ToUtf8Lossy(settings.namePattern);
    if (settings.limit == 0 || pattern.empty() || pattern.size() >= kPatternSize ||
        pattern.find_first_of(std::string_view("/\0", 2)) != std::string::npos || pattern == "." || pattern == "..")
        return false;
    if (ULK_FAILED(EnsurePrivateFolder(folder)))
        return false;
    // Whatever may throw comes before the folder is taken.
    PruneDumps(folder, pattern, settings.limit - 1);
    g_folder = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (g_folder < 0)
        return false;
    std::memcpy(g_pattern, pattern.c_str(), pattern.size() + 1);
    return true;
}

void CrashHandler::Install() {
    // The first call loads a library, which is no work for a crash.
    void* frame = nullptr;
    (void)::backtrace(&frame, 1);

    // A stack that overflowed has no room for a handler.
    stack_t stack{};
    stack.ss_sp = g_stack;
    stack.ss_size = sizeof g_stack;
    ::sigaltstack(&stack, &g_previousStack);

    struct sigaction action {};
    action.sa_sigaction = OnCrash;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
        g_taken[i] = ::sigaction(kSignals[i], nullptr, &g_previous[i]) == 0 &&
                     (g_previous[i].sa_flags & SA_SIGINFO) == 0 && g_previous[i].sa_handler == SIG_DFL &&
                     ::sigaction(kSignals[i], &action, nullptr) == 0;
    }
    m_installed = true;
}

CrashHandler::~CrashHandler() {
    if (!m_installed)
        return;
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
        struct sigaction current {};
        if (g_taken[i] && ::sigaction(kSignals[i], nullptr, &current) == 0 && (current.sa_flags & SA_SIGINFO) != 0 &&
            current.sa_sigaction == OnCrash)
            ::sigaction(kSignals[i], &g_previous[i], nullptr);
    }
    ::sigaltstack(&g_previousStack, nullptr);
    ::close(g_folder);
    g_folder = -1;
}

} // namespace platform::app_core_legacy
