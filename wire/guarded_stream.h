// SPDX-License-Identifier: GPL-2.0-or-later
// The message stream of a connection, with the limits that the RPC library doesn't keep by itself.
#pragma once

#include <capnp/serialize-async.h>
#include <cstddef>
#include <kj/async-io.h>
#include <kj/function.h>

namespace tfs::wire {

struct StreamLimits {
    /// Bytes of one message that is received; a larger one breaks the connection.
    std::size_t messageSize;
    /// Calls of the peer that it hasn't finished; one more breaks the connection. 0: none.
    std::size_t openQuestions = 0;
    /// Capabilities in one message; more break the connection.
    std::size_t capabilitiesPerMessage = 4;
};

/// Why nothing more can be read or written.
enum class StreamEnd {
    Closed, ///< the peer is gone
    Broken, ///< what came isn't the protocol, or is beyond a limit
};

/// For the network object. It refuses to send what it wouldn't take itself, so that it gets the larger of the two
/// limits; the stream keeps the one for receiving.
capnp::ReaderOptions NetworkOptions() noexcept;

/// Wraps the messages of one socket. Lives on the loop's thread and outlives the network object that reads it.
///
/// - While `mayRead` says no, nothing is read: a peer that doesn't take its answers gets no further calls through, so
///   that the write queue stays bounded (a very long one would overflow the stack when it is torn down).
/// - Counts the peer's open calls and the capabilities of each message.
/// - Tells at once when reading or writing has ended; the library itself may wait first for a write that never ends.
class GuardedStream final : public capnp::MessageStream {
public:
    GuardedStream(kj::AsyncIoStream& stream, StreamLimits limits);

    /// Asked before each message; asked again whenever something has been written.
    void SetMayRead(kj::Function<bool()> mayRead) { m_mayRead = kj::mv(mayRead); }
    /// Called once. Must not destroy the stream.
    void SetOnEnd(kj::Function<void(StreamEnd)> onEnd) { m_onEnd = kj::mv(onEnd); }
    /// Resolves when the write queue has got shorter.
    kj::Promise<void> OnWritten();

    kj::Promise<kj::Maybe<capnp::MessageReaderAndFds>> tryReadMessage(kj::ArrayPtr<kj::AutoCloseFd> fdSpace,
                                                                      capnp::ReaderOptions options,
                                                                      kj::ArrayPtr<capnp::word> scratchSpace) override;
    kj::Promise<void> writeMessage(kj::ArrayPtr<const int> fds,
                                   kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>> segments) override;
    kj::Promise<void>
    writeMessages(kj::ArrayPtr<kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>>> messages) override;
    kj::Maybe<int> getSendBufferSize() override;
    kj::Promise<void> end() override;

private:
    kj::Promise<void> WaitUntilReadable();
    void Inspect(capnp::MessageReader& message);
    void ReportEnd(StreamEnd why);
    kj::Promise<void> Watch(kj::Promise<void> write);
    void Written();

    capnp::AsyncIoMessageStream m_stream;
    const StreamLimits m_limits;
    std::size_t m_openQuestions = 0;
    kj::Function<bool()> m_mayRead = [] { return true; };
    kj::Function<void(StreamEnd)> m_onEnd = [](StreamEnd) {};
    bool m_ended = false;
    kj::Vector<kj::Own<kj::PromiseFulfiller<void>>> m_waiting;
};

} // namespace tfs::wire
