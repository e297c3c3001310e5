// SPDX-License-Identifier: GPL-2.0-or-later
// Packets between the service and its scanner: what is taken is what Encode writes, on the socket too.
#include <contract/scanner_channel.h>
#include <tests/fuzz/input.h>

#include <cstring>

void tfs::fuzz::Run(std::string_view input) {
    const auto message = scanner::Decode(std::as_bytes(std::span(input)));
    scanner::MessageBuffer buffer;
    if (message)
        Require(scanner::Encode(*message, buffer) == input.size() &&
                std::memcmp(buffer.data(), input.data(), input.size()) == 0);

    int ends[2] = {-1, -1};
    Require(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0);
    const scanner::Descriptor sender(ends[0]);
    const scanner::Descriptor receiver(ends[1]);
    Require(::send(sender.Get(), input.data(), input.size(), 0) == static_cast<ssize_t>(input.size()));
    scanner::Received received;
    const scanner::ReceiveResult result = scanner::Receive(receiver.Get(), received, MSG_DONTWAIT);
    if (input.empty())
        Require(result == scanner::ReceiveResult::Closed);
    else
        Require(result == (message ? scanner::ReceiveResult::Message : scanner::ReceiveResult::Garbage));
}
