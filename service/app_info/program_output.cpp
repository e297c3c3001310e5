// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/scanner_channel.h>
#include <foundation/spawn.h>
#include <service/app_info/program_output.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tfs::service::app_info {
namespace {

using Clock = std::chrono::steady_clock;
using scanner::Descriptor;

constexpr std::size_t MostOutput = std::size_t{1} << 20;
constexpr int CancelPoll = 100; // milliseconds

/// A program in a process group of its own, with its output in a pipe.
class Child {
public:
    explicit Child(std::vector<std::string>& arguments) {
        int ends[2] = {-1, -1};
        if (::pipe2(ends, O_CLOEXEC) != 0)
            return;
        m_output = Descriptor(ends[0]);
        const Descriptor theirs(ends[1]);
        // Ours alone: the program isn't made for an output that refuses to wait.
        if (::fcntl(ends[0], F_SETFL, O_NONBLOCK) != 0)
            return;
        ulk::SpawnSettings settings(POSIX_SPAWN_SETPGROUP);
        ::posix_spawn_file_actions_addopen(&settings.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_adddup2(&settings.actions, theirs.Get(), STDOUT_FILENO);
        ::posix_spawn_file_actions_addopen(&settings.actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_addclosefrom_np(&settings.actions, STDERR_FILENO + 1);
        std::vector<std::string> environment{"LC_ALL=C", "PATH=/usr/sbin:/usr/bin:/sbin:/bin"};
        if (::posix_spawn(&m_pid, arguments.front().c_str(), &settings.actions, &settings.attributes,
                          ulk::Pointers(arguments).data(), ulk::Pointers(environment).data()) != 0)
            m_pid = -1;
    }
    ~Child() { End(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    bool IsThere() const noexcept { return m_pid > 0; }
    int Output() const noexcept { return m_output.Get(); }
    /// Kills what is left of the group; the leader is reaped last, until when its number names no other group.
    void End() noexcept {
        if (m_pid < 0)
            return;
        ::kill(-m_pid, SIGKILL);
        int ignored = 0;
        while (::waitpid(m_pid, &ignored, 0) < 0 && errno == EINTR) {
        }
        m_pid = -1;
    }
    /// Whether it has ended with code 0; it stays unreaped.
    std::optional<bool> Succeeded() const noexcept {
        siginfo_t info{};
        if (::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0)
            return false;
        if (info.si_pid == 0)
            return std::nullopt;
        return info.si_code == CLD_EXITED && info.si_status == 0;
    }

private:
    Descriptor m_output;
    pid_t m_pid = -1;
};

} // namespace

std::optional<std::string> ProgramOutput(std::vector<std::string> arguments, std::chrono::milliseconds deadline,
                                         const std::function<bool()>& cancelled) {
    const Clock::time_point end = Clock::now() + deadline;
    const Child child(arguments);
    if (!child.IsThere())
        return std::nullopt;
    std::string output;
    bool isOpen = true;
    while (!cancelled() && Clock::now() < end) {
        pollfd polled{isOpen ? child.Output() : -1, POLLIN, 0};
        ::poll(&polled, 1, isOpen ? CancelPoll : CancelPoll / 10);
        std::array<char, 16384> buffer;
        ssize_t count = -1;
        while (isOpen && (count = ::read(child.Output(), buffer.data(), buffer.size())) > 0) {
            output.append(buffer.data(), static_cast<std::size_t>(count));
            if (output.size() > MostOutput)
                return std::nullopt;
        }
        isOpen = isOpen && (count < 0 && (errno == EAGAIN || errno == EINTR));
        if (isOpen)
            continue;
        if (const auto succeeded = child.Succeeded())
            return *succeeded ? std::optional(std::move(output)) : std::nullopt;
    }
    return std::nullopt;
}

} // namespace tfs::service::app_info
