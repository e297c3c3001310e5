// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/low_priority.h>
#include <scanner/parent.h>
#include <scanner/worker.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/random.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>

namespace tfs::scanner {
namespace {

/// A name that another worker of the same account can't guess.
std::string SecretName() {
    std::array<unsigned char, 16> bytes;
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        throw std::system_error(errno, std::generic_category(), "getrandom");
    std::string name = "w";
    for (const unsigned char byte : bytes) {
        name += "0123456789abcdef"[byte >> 4];
        name += "0123456789abcdef"[byte & 15];
    }
    return name;
}

} // namespace

Parent::Parent(Engine& engine, PrivateRoot root, WorkerLimits limits, int control)
    : m_engine(engine), m_root(std::move(root)), m_limits(limits), m_control(control) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGCHLD);
    ::sigprocmask(SIG_BLOCK, &signals, nullptr);
    m_signals.Reset(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!m_signals)
        throw std::system_error(errno, std::generic_category(), "signalfd");
}

void Parent::Run() {
    for (;;) {
        pollfd sources[] = {{m_control, POLLIN, 0}, {m_signals.Get(), POLLIN, 0}};
        if (::poll(sources, std::size(sources), -1) < 0 && errno != EINTR)
            break;
        if (sources[1].revents != 0)
            Reap();
        if (sources[0].revents == 0)
            continue;
        Received received;
        if (Receive(m_control, received) != ReceiveResult::Message || received.message.kind != MessageKind::Spawn)
            break;
        Fork(received.message.id, received.message.code != 0);
    }
    // They would die with us; waiting for it leaves no corpses where nobody collects orphans.
    for (const auto& [pid, child] : m_children)
        ::kill(pid, SIGKILL);
    for (auto& [pid, child] : m_children) {
        ::waitpid(pid, nullptr, 0);
        std::error_code ignored;
        std::filesystem::remove_all(child.folder, ignored);
    }
}

void Parent::Fork(std::uint64_t id, bool low) {
    const auto fail = [&](const char* what) {
        const std::string text = std::string(what) + ": " + std::generic_category().message(errno);
        Send(m_control, {.kind = MessageKind::WorkerFailed, .id = id, .first = text});
    };
    if (m_children.size() >= MaxWorkers) {
        errno = EAGAIN;
        return fail("too many workers");
    }
    const std::string folder = (m_root.folder == "/" ? "/" : m_root.folder + "/") + SecretName();
    if (::mkdir(folder.c_str(), 0700) != 0)
        return fail("temporary folder");
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        fail("socketpair");
        ::rmdir(folder.c_str());
        return;
    }
    Descriptor serviceEnd(ends[0]);
    Descriptor workerEnd(ends[1]);
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child < 0) {
        fail("fork");
        ::rmdir(folder.c_str());
        return;
    }
    if (child == 0) {
        serviceEnd.Reset();
        BeWorker(parent, folder, workerEnd.Get(), low);
    }
    workerEnd.Reset();
    m_children[child] = {id, folder};
    const Descriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, child, 0u)));
    if (!handle) {
        fail("pidfd_open");
        return;
    }
    const int passed[] = {serviceEnd.Get(), handle.Get()};
    Send(m_control, {.kind = MessageKind::WorkerStarted, .code = static_cast<std::uint32_t>(child), .id = id}, passed);
}

void Parent::BeWorker(pid_t parent, const std::string& folder, int channel, bool low) {
    try {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
        if (::getppid() != parent)
            ::_exit(0);
        ::close(m_control);
        m_signals.Reset();
        sigset_t none;
        sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        for (auto& [pid, child] : m_children) // where the others keep their files is none of this one's business
            ::explicit_bzero(child.folder.data(), child.folder.size());
        if (::chdir(folder.c_str()) != 0)
            throw std::system_error(errno, std::generic_category(), "chdir");
        m_engine.SetTemporaryFolder(folder);
        if (low) {
            TakeLowPriority();
            m_engine.StretchTime(LowTimeFactor);
        }
        EnterSandbox(folder, channel, m_limits);
        Worker(m_engine, channel).Run();
        ::_exit(0);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tesl-scanner: worker: %s\n", error.what());
        ::_exit(1);
    }
}

void Parent::Reap() {
    signalfd_siginfo info;
    while (::read(m_signals.Get(), &info, sizeof info) > 0) {
    }
    int status = 0;
    for (pid_t pid; (pid = ::waitpid(-1, &status, WNOHANG)) > 0;) {
        const auto child = m_children.find(pid);
        if (child == m_children.end())
            continue;
        std::error_code ignored;
        std::filesystem::remove_all(child->second.folder, ignored);
        Send(m_control,
             {.kind = MessageKind::WorkerEnded, .code = static_cast<std::uint32_t>(status), .id = child->second.id});
        m_children.erase(child);
    }
}

} // namespace tfs::scanner
