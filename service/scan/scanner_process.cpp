// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/spawn.h>
#include <service/scan/scanner_process.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/random.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <vector>

namespace tfs::service::scan {
namespace {

constexpr char DefaultTemporaryFolder[] = "/dev/shm";

/// Nobody can guess the name and make the folder before the scanner does.
std::string UniqueFolder(const ScannerConfig& config) {
    std::uint64_t number = 0;
    while (::getrandom(&number, sizeof number, 0) < 0 && errno == EINTR) {
    }
    const std::string base = config.temporaryFolder.empty() ? DefaultTemporaryFolder : config.temporaryFolder;
    return base + "/tesl-scanner-" + std::to_string(number);
}

std::vector<std::string> Arguments(const ScannerConfig& config, const std::string& temporary) {
    std::vector<std::string> arguments{config.program, "--bases", config.basesFolder, "--temporary", temporary};
    const auto add = [&](const char* name, const std::string& value) {
        arguments.emplace_back(name);
        arguments.push_back(value);
    };
    if (!config.temporaryFolder.empty())
        add("--mount-point", config.temporaryFolder);
    const std::pair<const char*, std::uint64_t> numbers[] = {
        {"--memory", config.workerMemoryLimit}, {"--time-limit", config.fileTimeLimitMs},
        {"--max-file", config.maxFileSize},     {"--max-scan", config.maxScanSize},
        {"--max-files", config.maxFiles},       {"--temporary-size", config.temporarySize},
    };
    for (const auto& [name, value] : numbers)
        if (value != 0)
            add(name, std::to_string(value));
    return arguments;
}

/// What the scanner gets of our environment: nothing, but for the options of a build with sanitizers.
std::vector<std::string> Environment() {
    std::vector<std::string> environment{"LC_ALL=C"};
    for (const char* name : {"ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"})
        if (const char* value = std::getenv(name))
            environment.push_back(std::string(name) + "=" + value);
    return environment;
}

} // namespace

ScannerProcess::~ScannerProcess() { End(0); }

std::string ScannerProcess::Start(const ScannerConfig& config) {
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        return std::string("socketpair: ") + std::strerror(errno);
    scanner::Descriptor ours(ends[0]);
    const scanner::Descriptor theirs(ends[1]);
    m_temporaryFolder = UniqueFolder(config);
    // A session of its own: what is typed at a development run's terminal is for the service alone.
    ulk::SpawnSettings settings(POSIX_SPAWN_SETSID);
    ::posix_spawn_file_actions_addopen(&settings.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&settings.actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_adddup2(&settings.actions, theirs.Get(), scanner::ControlDescriptor);
    // Before the program is opened: a child that waits there for a verdict of the protection in real time must not hold
    // the descriptor by which verdicts are given, for then they would be waited for even when the service has died.
    ::posix_spawn_file_actions_addclosefrom_np(&settings.actions, scanner::ControlDescriptor + 1);
    std::vector<std::string> arguments = Arguments(config, m_temporaryFolder);
    std::vector<std::string> environment = Environment();
    const int error = ::posix_spawn(&m_pid, config.program.c_str(), &settings.actions, &settings.attributes,
                                    ulk::Pointers(arguments).data(), ulk::Pointers(environment).data());
    if (error != 0) {
        m_pid = -1;
        return "the scanner can't be started: " + std::string(std::strerror(error));
    }
    m_control = std::move(ours);
    return {};
}

void ScannerProcess::Close(int patienceMs) noexcept {
    m_control.Reset();
    m_killAt = std::chrono::steady_clock::now() + std::chrono::milliseconds(patienceMs);
}

bool ScannerProcess::IsGone() noexcept {
    if (m_pid < 0)
        return true;
    if (std::chrono::steady_clock::now() >= m_killAt)
        ::kill(m_pid, SIGKILL);
    pid_t ended = 0;
    while ((ended = ::waitpid(m_pid, nullptr, WNOHANG)) < 0 && errno == EINTR) {
    }
    if (ended == 0)
        return false;
    ClearAway();
    return true;
}

void ScannerProcess::ClearAway() noexcept {
    m_pid = -1;
    std::error_code ignored;
    std::filesystem::remove_all(m_temporaryFolder, ignored);
}

void ScannerProcess::End(int patienceMs) noexcept {
    m_control.Reset();
    if (m_pid < 0)
        return;
    const scanner::Descriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, m_pid, 0u)));
    pollfd ended{handle.Get(), POLLIN, 0};
    if (!handle || patienceMs <= 0 || ::poll(&ended, 1, patienceMs) <= 0)
        ::kill(m_pid, SIGKILL);
    while (::waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
    }
    ClearAway();
}

} // namespace tfs::service::scan
