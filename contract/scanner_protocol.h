// SPDX-License-Identifier: GPL-2.0-or-later
// What tesl-service and tesl-scanner say to each other over SOCK_SEQPACKET sockets: one message a packet.
// Value types only; any thread. The service treats everything that a worker says as hostile: Decode checks all of it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <string_view>

namespace tfs::scanner {

/// Both sides come in one package; a scanner of another version is refused.
inline constexpr std::uint32_t ProtocolVersion = 3;
/// Where the parent finds its socket to the service.
inline constexpr int ControlDescriptor = 3;
/// Longest message.
inline constexpr std::size_t MaxMessage = 4096;
/// Longest text inside a message; longer ones are cut by the sender.
inline constexpr std::size_t MaxText = 1024;
/// Requests that a worker holds at a time, the one in work included.
inline constexpr std::size_t RequestsAhead = 2;
/// A worker that leaves the processor to all others may take this many times the time limit for a file.
inline constexpr std::uint32_t LowTimeFactor = 4;
/// Upper bound of workers of one parent.
inline constexpr std::uint32_t MaxWorkers = 256;

enum class MessageKind : std::uint32_t {
    // parent to service
    Loaded = 1,        ///< value: signatures; time: date of the newest; id: fingerprint; code: ProtocolVersion;
                       ///< first: engine's version; second: what the sandbox consists of
    LoadFailed = 2,    ///< first: why
    WorkerStarted = 3, ///< id: the worker's; code: its pid; comes with its socket and its pidfd
    WorkerFailed = 4,  ///< id: the worker's; first: why it couldn't be forked
    WorkerEnded = 5,   ///< id: the worker's; code: wait status
    // service to parent
    Spawn = 16, ///< id: number for the new worker; code: 1 for one that leaves processor and disk to all others
    // service to worker
    Scan = 32,   ///< id: the request's; code: RequestFlags; value: bytes of the largest file, 0: the scanner's limit;
                 ///< time: milliseconds for the file, 0: the scanner's limit; comes with the descriptor to scan
    Cancel = 33, ///< id: the request's
    // worker to service
    Ready = 48,    ///< the worker is inside its sandbox
    Progress = 49, ///< id: the request's; value: bytes read so far
    Verdict = 50,  ///< id: the request's; code: VerdictCode; value: bytes read; first: threat, second: inner name,
                   ///< third: detail
};

/// Bits of a Scan message's code; unknown ones are ignored.
enum RequestFlags : std::uint32_t {
    KeepArchivesShut = 1, ///< an archive is scanned as a plain file
};

/// Answer about one file. Everything but Clean and Infected is a reason why the file was not wholly read.
enum class VerdictCode : std::uint32_t {
    Clean = 0,
    Infected = 1,
    ReadError = 2,
    Changed = 3,
    Encrypted = 4,
    Limit = 5,
    TimeLimit = 6,
    EngineFailed = 7,
    OutOfSpace = 8,
    Cancelled = 9,
    NotUnpacked = 10, ///< an archive, or a part of it, is damaged or of a kind that the engine can't unpack
};
inline constexpr VerdictCode LastVerdictCode = VerdictCode::NotUnpacked;

/// One message; the texts refer to memory of the caller or of the buffer that was decoded.
struct Message {
    MessageKind kind = MessageKind::Loaded;
    std::uint32_t code = 0;
    std::uint64_t id = 0;
    std::uint64_t value = 0;
    std::int64_t time = 0;
    std::string_view first = {};
    std::string_view second = {};
    std::string_view third = {};
};

namespace detail {
/// The fixed part of a packet; the texts follow it.
struct WireHeader {
    std::uint32_t kind;
    std::uint32_t code;
    std::uint64_t id;
    std::uint64_t value;
    std::int64_t time;
    std::array<std::uint16_t, 4> textSizes; ///< the last is 0
};
static_assert(sizeof(WireHeader) == 40);
} // namespace detail

using MessageBuffer = std::array<std::byte, MaxMessage>;

/// Writes a message; texts longer than MaxText are cut. Returns the number of bytes.
inline std::size_t Encode(const Message& message, MessageBuffer& buffer) noexcept {
    const std::string_view texts[] = {message.first.substr(0, MaxText), message.second.substr(0, MaxText),
                                      message.third.substr(0, MaxText)};
    const detail::WireHeader header{static_cast<std::uint32_t>(message.kind),
                                    message.code,
                                    message.id,
                                    message.value,
                                    message.time,
                                    {static_cast<std::uint16_t>(texts[0].size()),
                                     static_cast<std::uint16_t>(texts[1].size()),
                                     static_cast<std::uint16_t>(texts[2].size()), 0}};
    static_assert(sizeof header + 3 * MaxText <= MaxMessage);
    std::memcpy(buffer.data(), &header, sizeof header);
    std::size_t size = sizeof header;
    for (const std::string_view text : texts) {
        if (!text.empty())
            std::memcpy(buffer.data() + size, text.data(), text.size());
        size += text.size();
    }
    return size;
}

/// Reads a message. Anything that Encode wouldn't have written, or an unknown kind, gives nothing.
inline std::optional<Message> Decode(std::span<const std::byte> packet) noexcept {
    detail::WireHeader header;
    if (packet.size() < sizeof header)
        return std::nullopt;
    std::memcpy(&header, packet.data(), sizeof header);
    std::size_t expected = sizeof header;
    for (const std::uint16_t size : header.textSizes) {
        if (size > MaxText)
            return std::nullopt;
        expected += size;
    }
    if (expected != packet.size() || header.textSizes[3] != 0)
        return std::nullopt;
    switch (static_cast<MessageKind>(header.kind)) {
    case MessageKind::Loaded:
    case MessageKind::LoadFailed:
    case MessageKind::WorkerStarted:
    case MessageKind::WorkerFailed:
    case MessageKind::WorkerEnded:
    case MessageKind::Spawn:
    case MessageKind::Scan:
    case MessageKind::Cancel:
    case MessageKind::Ready:
    case MessageKind::Progress:
    case MessageKind::Verdict:
        break;
    default:
        return std::nullopt;
    }
    Message message{
        static_cast<MessageKind>(header.kind), header.code, header.id, header.value, header.time, {}, {}, {}};
    const char* text = reinterpret_cast<const char*>(packet.data()) + sizeof header;
    message.first = {text, header.textSizes[0]};
    message.second = {text + header.textSizes[0], header.textSizes[1]};
    message.third = {text + header.textSizes[0] + header.textSizes[1], header.textSizes[2]};
    return message;
}

} // namespace tfs::scanner
