// SPDX-License-Identifier: GPL-2.0-or-later
#include <wire/guarded_stream.h>
#include <wire/protocol.h>

#include <capnp/rpc.capnp.h>
#include <kj/debug.h>

namespace tfs::wire {

capnp::ReaderOptions NetworkOptions() noexcept {
    capnp::ReaderOptions options;
    options.traversalLimitInWords = (ReplySizeLimit + EnvelopeSize) / sizeof(capnp::word);
    return options;
}

GuardedStream::GuardedStream(kj::AsyncIoStream& stream, StreamLimits limits) : m_stream(stream), m_limits(limits) {}

kj::Promise<kj::Maybe<capnp::MessageReaderAndFds>>
GuardedStream::tryReadMessage(kj::ArrayPtr<kj::AutoCloseFd> fdSpace, capnp::ReaderOptions options,
                              kj::ArrayPtr<capnp::word> scratchSpace) {
    using Message = kj::Maybe<capnp::MessageReaderAndFds>;
    options.traversalLimitInWords = (m_limits.messageSize + EnvelopeSize) / sizeof(capnp::word);
    return WaitUntilReadable()
        .then(
            [this, fdSpace, options, scratchSpace] { return m_stream.tryReadMessage(fdSpace, options, scratchSpace); })
        .then([this](Message message) -> Message {
            KJ_IF_MAYBE (m, message)
                Inspect(*m->reader);
            else
                ReportEnd(StreamEnd::Closed);
            return message;
        })
        .catch_([this](kj::Exception&& e) -> Message {
            ReportEnd(e.getType() == kj::Exception::Type::DISCONNECTED ? StreamEnd::Closed : StreamEnd::Broken);
            kj::throwFatalException(kj::mv(e));
        });
}

kj::Promise<void> GuardedStream::WaitUntilReadable() {
    if (m_mayRead())
        return kj::READY_NOW;
    return OnWritten().then([this] { return WaitUntilReadable(); });
}

kj::Promise<void> GuardedStream::OnWritten() {
    auto pair = kj::newPromiseAndFulfiller<void>();
    m_waiting.add(kj::mv(pair.fulfiller));
    // The network takes a message off its queue only after the write has resolved, hence the turn in between.
    return pair.promise.then([] { return kj::evalLast([] {}); });
}

void GuardedStream::Inspect(capnp::MessageReader& reader) {
    namespace rpc = capnp::rpc;
    const auto message = reader.getRoot<rpc::Message>();
    const auto requireFew = [this](rpc::Payload::Reader payload) {
        KJ_REQUIRE(payload.getCapTable().size() <= m_limits.capabilitiesPerMessage, "too many capabilities");
    };
    switch (message.which()) {
    case rpc::Message::CALL:
        requireFew(message.getCall().getParams());
        [[fallthrough]];
    case rpc::Message::BOOTSTRAP:
        ++m_openQuestions;
        KJ_REQUIRE(m_limits.openQuestions == 0 || m_openQuestions <= m_limits.openQuestions, "too many open calls");
        break;
    case rpc::Message::FINISH:
        // One that finishes no call is refused by the library, with the end of the connection.
        if (m_openQuestions > 0)
            --m_openQuestions;
        break;
    case rpc::Message::RETURN:
        if (const auto answer = message.getReturn(); answer.isResults())
            requireFew(answer.getResults());
        break;
    case rpc::Message::ABORT:
        ReportEnd(StreamEnd::Broken);
        break;
    default:
        break;
    }
}

void GuardedStream::ReportEnd(StreamEnd why) {
    if (!m_ended) {
        m_ended = true;
        m_onEnd(why);
    }
}

kj::Promise<void> GuardedStream::Watch(kj::Promise<void> write) {
    // After a failed write the network drops the read under way, which then can't tell of the end any more.
    return write.then([this] { Written(); },
                      [this](kj::Exception&& e) {
                          ReportEnd(StreamEnd::Closed);
                          kj::throwFatalException(kj::mv(e));
                      });
}

void GuardedStream::Written() {
    auto waiting = kj::mv(m_waiting);
    m_waiting = kj::Vector<kj::Own<kj::PromiseFulfiller<void>>>();
    for (auto& fulfiller : waiting)
        fulfiller->fulfill();
}

kj::Promise<void> GuardedStream::writeMessage(kj::ArrayPtr<const int> fds,
                                              kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>> segments) {
    return Watch(m_stream.writeMessage(fds, segments));
}

kj::Promise<void>
GuardedStream::writeMessages(kj::ArrayPtr<kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>>> messages) {
    return Watch(m_stream.writeMessages(messages));
}

kj::Maybe<int> GuardedStream::getSendBufferSize() { return m_stream.getSendBufferSize(); }

kj::Promise<void> GuardedStream::end() { return m_stream.end(); }

} // namespace tfs::wire
