// SPDX-License-Identifier: GPL-2.0-or-later
// A worker of the scanner against whatever its socket brings: it answers or ends, and never waits for good.
#include <scanner/worker.h>
#include <tests/fuzz/input.h>

#include <filesystem>

namespace {

using tfs::fuzz::Require;

tfs::scanner::Engine& LoadedEngine() {
    static tfs::scanner::Engine engine;
    static const bool loaded = [] {
        tfs::scanner::Settings settings;
        settings.basesFolder = TESL_FUZZ_BASES;
        Require(engine.Load(settings).empty());
        engine.SetTemporaryFolder(std::filesystem::temp_directory_path().string());
        return true;
    }();
    Require(loaded);
    return engine;
}

/// A packet goes with its length before it, and with a small file.
void Feed(int socket, std::string_view input) {
    const tfs::fuzz::MemoryFile file("text");
    while (!input.empty()) {
        const std::string_view packet = input.substr(1, static_cast<std::uint8_t>(input.front()));
        input.remove_prefix(1 + packet.size());
        const auto message = tfs::scanner::Decode(std::as_bytes(std::span(packet)));
        const int passed[] = {file.Descriptor()};
        if (message)
            (void)tfs::scanner::Send(socket, *message, passed, MSG_DONTWAIT);
        else
            (void)::send(socket, packet.data(), packet.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    }
}

} // namespace

void tfs::fuzz::Run(std::string_view input) {
    int ends[2] = {-1, -1};
    Require(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0);
    scanner::Descriptor service(ends[0]);
    const scanner::Descriptor channel(ends[1]);
    Feed(service.Get(), input);
    service.Reset(); // what was sent can still be read
    scanner::Worker(LoadedEngine(), channel.Get()).Run();
}
