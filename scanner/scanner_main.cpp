// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/parent.h>
#include <scanner/scanner_main.h>
#include <scanner/self_test.h>
#include <scanner/settings.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace tfs::scanner {
namespace {

constexpr std::uint64_t Megabyte = std::uint64_t{1} << 20;

/// Files up to this size are read into memory at once, which the engine scans fastest; large memory permitting.
std::size_t ReadBufferSize(const Settings& settings) {
    const auto processors = static_cast<std::uint64_t>(std::max(1L, ::sysconf(_SC_NPROCESSORS_ONLN)));
    const std::uint64_t memory =
        static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    return static_cast<std::size_t>(
        std::clamp(std::min(memory / (16 * processors), settings.memoryLimit / 4), 16 * Megabyte, 128 * Megabyte));
}

/// First to be ended when memory runs short: a lost worker costs a retry.
void VolunteerForMemory() {
    if (const int file = ::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC); file >= 0) {
        if (::write(file, "500", 3) != 3)
            std::fputs("tesl-scanner: oom_score_adj can't be raised\n", stderr);
        ::close(file);
    }
}

void PrepareProcess() {
    // Nothing but the standard streams and the service's socket came with us, whatever the service forgot to close.
    ::close_range(ControlDescriptor + 1, ~0u, 0);
    ::fcntl(ControlDescriptor, F_SETFD, FD_CLOEXEC);
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGINT, SIG_IGN);
    ::signal(SIGHUP, SIG_IGN);
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    ::umask(077);
    ::prctl(PR_SET_NAME, "tesl-scanner", 0, 0, 0);
    VolunteerForMemory();
}

int Refuse(const std::string& reason) {
    Send(ControlDescriptor, {.kind = MessageKind::LoadFailed, .code = ProtocolVersion, .first = reason});
    return 1;
}

} // namespace

int ScannerMain(int argc, char** argv) {
    const Settings settings = ParseArguments(argc, argv);
    PrepareProcess();
    Engine engine;
    if (const std::string error = engine.Load(settings); !error.empty()) {
        if (settings.selfTest)
            std::printf("load: %s\n", error.c_str());
        return Refuse(error);
    }
    const std::size_t buffer = ReadBufferSize(settings);
    engine.SetReadBuffer(buffer);
    const WorkerLimits limits{AddressSpaceInUse() + settings.memoryLimit, 2 * settings.maxFileSize + 16 * Megabyte};
    PrivateRoot root = EnterPrivateRoot(settings);
    engine.SetTemporaryFolder(root.folder);
    if (const std::string error = engine.WarmUp(); !error.empty())
        return Refuse(error);
    if (settings.selfTest)
        return SelfTest(root, limits);
    const std::string sandbox = root.description;
    Parent parent(engine, std::move(root), limits, ControlDescriptor);
    if (Send(ControlDescriptor, {.kind = MessageKind::Loaded,
                                 .code = ProtocolVersion,
                                 .id = engine.Fingerprint(),
                                 .value = engine.Signatures(),
                                 .time = engine.BasesDate(),
                                 .first = Engine::Version(),
                                 .second = sandbox}) != 0)
        return 1;
    parent.Run();
    ::_exit(0); // the engine's memory goes with the process, without being put in order first
}

} // namespace tfs::scanner
