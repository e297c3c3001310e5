// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/spawn.h>
#include <service/update/freshclam_output.h>
#include <service/update/freshclam_process.h>
#include <service/update/signature_files.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tfs::service::update {
namespace {

using Clock = std::chrono::steady_clock;

/// Output is taken in portions, so that a program that writes without end can still be stopped.
constexpr std::size_t Portion = 16384;
/// What a pipe holds, in portions.
constexpr std::size_t LastPortions = 64;
/// A set has fewer files; whatever is written beyond that isn't worth an event each.
constexpr std::size_t MostTold = 1000;
/// main, daily and bytecode.
constexpr std::size_t OfficialFiles = 3;

std::vector<std::string> Arguments(const FreshclamPrograms& programs, const FreshclamJob& job) {
    std::vector<std::string> arguments{programs.prlimit, "--fsize=" + std::to_string(programs.maxFileBytes),
                                       "--core=0",       programs.setpriv,
                                       "--no-new-privs", "--pdeathsig=KILL"};
    if (::geteuid() == 0) {
        arguments.push_back("--reuid=" + std::to_string(job.account.uid));
        arguments.push_back("--regid=" + std::to_string(job.account.gid));
        arguments.insert(arguments.end(), {"--clear-groups", "--inh-caps=-all"});
    }
    // The configuration is the standard input: it may hold a password, and leaves nothing on the disk.
    arguments.insert(arguments.end(), {programs.freshclam, "--config-file=/dev/stdin", "--stdout", "--show-progress"});
    if (job.source.kind != UpdateSource::Kind::Official)
        arguments.emplace_back("--no-dns");
    return arguments;
}

/// A file in memory that the account alone may read.
scanner::Descriptor MemoryFile(const std::string& text, const UpdaterAccount& account) {
    scanner::Descriptor file(::memfd_create("tesl-update", MFD_CLOEXEC));
    if (!file || ::write(file.Get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
        ::lseek(file.Get(), 0, SEEK_SET) != 0 || ::fchmod(file.Get(), 0400) != 0 ||
        (::geteuid() == 0 && ::fchown(file.Get(), account.uid, account.gid) != 0))
        return {};
    return file;
}

std::string HowItEnded(int status) {
    if (WIFSIGNALED(status))
        return "the updater was ended by signal " + std::to_string(WTERMSIG(status));
    return "the updater failed with code " + std::to_string(WEXITSTATUS(status));
}

} // namespace

/// What the output of a run comes to.
class FreshclamProcess::Watch {
public:
    Watch(const FetchObserver& observer, std::size_t files) : m_observer(observer), m_files(files) {}

    void Take(std::string_view bytes) {
        for (const std::string& line : m_lines.Add(bytes))
            Read(line);
    }
    void Finish() {
        if (const auto line = m_lines.Finish())
            Read(*line);
    }
    bool IsUpdated() const { return m_updated > 0; }
    bool IsRefused() const { return !m_output.Refusal().empty(); }
    std::string Failure() const { return m_output.Failure(); }

private:
    void Read(const std::string& line) {
        FreshclamOutput::Step step = m_output.Read(line);
        if (!step.updatedFile.empty()) {
            ++m_updated;
            Tell(0);
            if (m_observer.updated && m_updated <= MostTold)
                m_observer.updated(step.updatedFile);
        } else if (!step.testedFile.empty()) {
            if (m_observer.tested && ++m_tested <= MostTold)
                m_observer.tested(step.testedFile);
        } else if (step.filePercent) {
            Tell(*step.filePercent);
        }
    }
    /// Each file counts alike; how large the next ones are isn't known.
    void Tell(std::uint32_t ofFile) {
        const std::size_t whole = std::max(m_files, m_updated + 1);
        const auto percent = static_cast<std::uint32_t>((m_updated * 100 + ofFile) / whole);
        if (percent <= m_percent || percent > 100)
            return;
        m_percent = percent;
        if (m_observer.progress)
            m_observer.progress(percent);
    }

    const FetchObserver& m_observer;
    const std::size_t m_files;
    LineReader m_lines;
    FreshclamOutput m_output;
    std::size_t m_updated = 0;
    std::size_t m_tested = 0;
    std::uint32_t m_percent = 0;
};

FreshclamProcess::FreshclamProcess(FreshclamPrograms programs)
    : m_programs(std::move(programs)), m_stop(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!m_stop)
        throw std::system_error(errno, std::generic_category(), "eventfd");
}

FreshclamProcess::~FreshclamProcess() { EndGroup(); }

void FreshclamProcess::Stop() noexcept {
    const std::uint64_t one = 1;
    (void)!::write(m_stop.Get(), &one, sizeof one);
}

std::string FreshclamProcess::Start(const FreshclamJob& job, scanner::Descriptor& output) {
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return "a pipe can't be made: " + ErrnoText(errno);
    scanner::Descriptor ours(ends[0]);
    const scanner::Descriptor theirs(ends[1]);
    const scanner::Descriptor configuration = MemoryFile(FreshclamConfiguration(job), job.account);
    if (!configuration || ::fcntl(ours.Get(), F_SETFL, O_NONBLOCK) != 0)
        return "the updater's configuration can't be made: " + ErrnoText(errno);
    ulk::SpawnSettings settings(POSIX_SPAWN_SETPGROUP);
    const std::pair<int, int> handed[] = {{configuration.Get(), STDIN_FILENO},
                                          {theirs.Get(), STDOUT_FILENO},
                                          {theirs.Get(), STDERR_FILENO},
                                          {job.databaseFolder, DatabaseDescriptor},
                                          {job.sourceFolder, SourceDescriptor}};
    // High numbers first, so that none is overwritten by another before it was handed over.
    std::vector<scanner::Descriptor> high;
    for (const auto& [from, to] : handed) {
        if (from < 0)
            continue;
        high.emplace_back(::fcntl(from, F_DUPFD_CLOEXEC, SourceDescriptor + 1));
        if (!high.back())
            return "the updater can't be started: " + ErrnoText(errno);
        ::posix_spawn_file_actions_adddup2(&settings.actions, high.back().Get(), to);
    }
    // Whatever else is open, in this process or since before it began, is not for the updater.
    for (int other = STDERR_FILENO + 1; other <= SourceDescriptor; ++other)
        if (std::none_of(std::begin(handed), std::end(handed),
                         [other](const auto& pair) { return pair.second == other && pair.first >= 0; }))
            ::posix_spawn_file_actions_addclose(&settings.actions, other);
    ::posix_spawn_file_actions_addclosefrom_np(&settings.actions, SourceDescriptor + 1);
    ::posix_spawn_file_actions_addchdir_np(&settings.actions, "/");
    std::vector<std::string> arguments = Arguments(m_programs, job);
    std::vector<std::string> environment{"LC_ALL=C", "PATH=/usr/bin:/bin"};
    const int error = ::posix_spawn(&m_pid, m_programs.prlimit.c_str(), &settings.actions, &settings.attributes,
                                    ulk::Pointers(arguments).data(), ulk::Pointers(environment).data());
    if (error != 0) {
        m_pid = -1;
        return "the updater can't be started: " + ErrnoText(error);
    }
    output = std::move(ours);
    return {};
}

/// The leader is reaped last: until then its number names no other group. Returns its status.
int FreshclamProcess::EndGroup() noexcept {
    int status = 0;
    if (m_pid < 0)
        return status;
    ::kill(-m_pid, SIGKILL);
    while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
    }
    m_pid = -1;
    return status;
}

FetchResult FreshclamProcess::Run(const FreshclamJob& job, const FetchObserver& observer) {
    const Clock::time_point deadline = Clock::now() + m_programs.deadline;
    scanner::Descriptor output;
    if (std::string problem = Start(job, output); !problem.empty())
        return {FetchEnd::Failed, std::move(problem)};
    const scanner::Descriptor process(static_cast<int>(::syscall(SYS_pidfd_open, m_pid, 0u)));
    if (!process) {
        const std::string problem = "the updater can't be watched: " + ErrnoText(errno);
        EndGroup();
        return {FetchEnd::Failed, problem};
    }
    const bool isWhole =
        job.source.kind == UpdateSource::Kind::Official || job.source.kind == UpdateSource::Kind::Mirror;
    Watch watch(observer, isWhole ? OfficialFiles : job.files.size());
    std::array<char, Portion> buffer;
    const auto take = [&] { // false: nothing more for now
        const ssize_t count = ::read(output.Get(), buffer.data(), buffer.size());
        if (count > 0)
            watch.Take({buffer.data(), static_cast<std::size_t>(count)});
        return count > 0;
    };
    pollfd polled[3] = {{m_stop.Get(), POLLIN, 0}, {process.Get(), POLLIN, 0}, {output.Get(), POLLIN, 0}};
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) {
            EndGroup();
            return {FetchEnd::Failed, "the update took too long"};
        }
        if (::poll(polled, std::size(polled), static_cast<int>(std::min<std::int64_t>(left, 3600000))) < 0 &&
            errno != EINTR)
            break;
        if ((polled[0].revents & POLLIN) != 0) {
            EndGroup();
            return {FetchEnd::Stopped, {}};
        }
        if (!take() && (polled[2].revents & (POLLHUP | POLLERR)) != 0)
            polled[2].fd = -1;
        if ((polled[1].revents & POLLIN) != 0)
            break;
    }
    // It has ended: what it wrote last is in the pipe, at most a pipe full.
    for (std::size_t portions = 0; portions < LastPortions && take(); ++portions) {
    }
    watch.Finish();
    const int status = EndGroup();
    const bool isRefused = !watch.IsUpdated() && watch.IsRefused();
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0 && !isRefused)
        return {watch.IsUpdated() ? FetchEnd::Updated : FetchEnd::NothingToUpdate, {}};
    std::string why = WIFEXITED(status) ? watch.Failure() : std::string();
    return {FetchEnd::Failed, why.empty() ? HowItEnded(status) : std::move(why)};
}

} // namespace tfs::service::update
