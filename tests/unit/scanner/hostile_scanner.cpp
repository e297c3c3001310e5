// SPDX-License-Identifier: GPL-2.0-or-later
// A stand-in for tesl-scanner, as it would be after a file has taken it over: speaks the protocol and breaks it in the
// way that its "--bases" argument names. Ends with the service, as the real one does.
#include <contract/scanner_channel.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <string_view>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <vector>

namespace {

using namespace tfs::scanner;

void Say(int channel, VerdictCode code, std::uint64_t id, std::string_view threat = {}) {
    Send(channel, {.kind = MessageKind::Verdict, .code = static_cast<std::uint32_t>(code), .id = id, .first = threat});
}

/// What a worker does with a request, by name.
struct Trick {
    std::string_view name;
    void (*play)(int channel, std::uint64_t id, int file);
};

const Trick Tricks[] = {
    {"flood",
     [](int channel, std::uint64_t id, int) {
         while (Send(channel, {.kind = MessageKind::Progress, .id = id, .value = 1}) == 0) {
         }
     }},
    {"cancels", [](int channel, std::uint64_t id, int) { Say(channel, VerdictCode::Cancelled, id); }},
    {"answers another", [](int channel, std::uint64_t id, int) { Say(channel, VerdictCode::Clean, id + 1000); }},
    {"nameless threat", [](int channel, std::uint64_t id, int) { Say(channel, VerdictCode::Infected, id); }},
    {"unknown verdict", [](int channel, std::uint64_t id, int) { Say(channel, VerdictCode{99}, id); }},
    {"twice ready", [](int channel, std::uint64_t, int) { Send(channel, {.kind = MessageKind::Ready}); }},
    {"parent's word", [](int channel, std::uint64_t,
                         int) { Send(channel, {.kind = MessageKind::Loaded, .code = ProtocolVersion, .value = 1}); }},
    {"garbage", [](int channel, std::uint64_t, int) { ::send(channel, "garbage", 7, MSG_NOSIGNAL); }},
    {"too long",
     [](int channel, std::uint64_t, int) {
         const std::vector<char> packet(100000, 'x');
         ::send(channel, packet.data(), packet.size(), MSG_NOSIGNAL);
     }},
    {"gives descriptors",
     [](int channel, std::uint64_t id, int file) {
         const int passed[] = {file, file};
         for (int i = 0; i < 10; ++i)
             Send(channel, {.kind = MessageKind::Progress, .id = id, .value = 1}, passed);
         Say(channel, VerdictCode::Clean, id);
     }},
    {"chatters",
     [](int channel, std::uint64_t id, int) {
         Say(channel, VerdictCode::Clean, id);
         Send(channel, {.kind = MessageKind::Progress, .id = id, .value = 1});
     }},
    {"stays", [](int channel, std::uint64_t id, int) { Say(channel, VerdictCode::Clean, id); }},
};

[[noreturn]] void BeWorker(int channel, std::string_view way, pid_t parent) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
    if (::getppid() != parent)
        ::_exit(0);
    Send(channel, {.kind = MessageKind::Ready});
    Received received;
    while (Receive(channel, received) == ReceiveResult::Message)
        for (const Trick& trick : Tricks)
            if (trick.name == way && received.message.kind == MessageKind::Scan)
                trick.play(channel, received.message.id, received.descriptors[0].Get());
    while (way == "stays") // though nobody wants it any more
        ::pause();
    ::_exit(0);
}

void Spawn(std::uint64_t id, std::string_view way) {
    if (way == "no workers") {
        Send(ControlDescriptor, {.kind = MessageKind::WorkerFailed, .id = id, .first = "no more processes"});
        return;
    }
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return;
    const Descriptor serviceEnd(ends[0]);
    const Descriptor workerEnd(ends[1]);
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child == 0)
        BeWorker(workerEnd.Get(), way, parent);
    const Descriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, child, 0u)));
    const int passed[] = {serviceEnd.Get(), handle.Get()};
    Send(ControlDescriptor, {.kind = MessageKind::WorkerStarted, .code = static_cast<std::uint32_t>(child), .id = id},
         way == "no descriptors" ? std::span<const int>() : passed);
}

} // namespace

int main(int argc, char** argv) {
    std::string_view way;
    for (int i = 1; i + 1 < argc; ++i)
        if (std::string_view(argv[i]) == "--bases")
            way = argv[i + 1];
    ::signal(SIGCHLD, SIG_IGN);
    Send(ControlDescriptor, {.kind = MessageKind::Loaded,
                             .code = way == "old version" ? ProtocolVersion - 1 : ProtocolVersion,
                             .id = 1,
                             .value = 1,
                             .first = "none",
                             .second = "none"});
    Received received;
    while (Receive(ControlDescriptor, received) == ReceiveResult::Message)
        Spawn(received.message.id, way);
    return 0;
}
