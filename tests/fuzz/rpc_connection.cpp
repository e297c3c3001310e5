// SPDX-License-Identifier: GPL-2.0-or-later
// The service's end of a connection against whatever a client may send, a whole session at a time.
#include <service/rpc/blocking_calls.h>
#include <service/rpc/connection.h>
#include <service/rpc/event_hub.h>
#include <tests/fuzz/input.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/fake_storage.h>

#include <sys/socket.h>

namespace {

using namespace tfs::service::rpc;

constexpr std::size_t RingSize = 8;
constexpr int Rounds = 8;

tfs::Event SomeEvent() {
    tfs::Event event;
    event.type = tfs::types::EventName::TaskStateChanged;
    return event;
}

/// Goes by way of the kernel and back, so that whatever else is ready in the loop has its turn.
class Detour {
public:
    explicit Detour(kj::AsyncIoContext& io) : m_pipe(io.provider->newOneWayPipe()) {}
    kj::Promise<void> Go(int rounds) {
        if (rounds == 0)
            return kj::READY_NOW;
        auto back = m_pipe.in->read(&m_byte, 1);
        return m_pipe.out->write("x", 1).then([back = kj::mv(back)]() mutable { return kj::mv(back); }).then([=, this] {
            return Go(rounds - 1);
        });
    }

private:
    kj::OneWayPipe m_pipe;
    char m_byte = 0;
};

/// One client: sends the input, waits for events a little, and says that it is done; takes whatever comes.
kj::Promise<void> Talk(kj::AsyncIoStream& socket, Detour& detour, std::string_view input) {
    auto sent = socket.write(input.data(), input.size())
                    .then([&detour] { return detour.Go(Rounds); })
                    .then([&socket] { socket.shutdownWrite(); })
                    .eagerlyEvaluate(nullptr); // joined promises alone would wait for each other
    return kj::joinPromises(kj::arr(kj::mv(sent), socket.readAllBytes().ignoreResult()));
}

void Serve(kj::AsyncIoContext& io, std::string_view input) {
    int ends[2] = {-1, -1};
    tfs::fuzz::Require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) == 0);
    auto client = io.lowLevelProvider->wrapSocketFd(kj::AutoCloseFd(ends[0]));
    tfs::test::FakeService api;
    tfs::test::FakeStorage storage;
    tfs::test::FakeFeed feed(RingSize);
    api.tasks = {tfs::test::FullTaskInfo()};
    api.during = [&] { feed.Publish(SomeEvent()); };
    tfs::wire::LoopQueue queue;
    Worker storeWorker("fuzz-store");
    Worker blockingWorker("fuzz-blocking");
    Worker slowWorker("fuzz-slow");
    const RpcServerOptions options;
    Detour detour(io);
    queue.Adopt();
    {
        EventHub hub(feed, queue, storeWorker, io.provider->getTimer(), nullptr);
        const auto queueOf = [&](Worker& worker) {
            return std::make_shared<BlockingCalls>(BlockingApis(api, &storage), worker, queue,
                                                   options.blockingCallsWaiting);
        };
        Connection connection(io, kj::AutoCloseFd(ends[1]), Caller{1000, true, 1}, ulk::sOk, options, api,
                              queueOf(blockingWorker), queueOf(slowWorker), hub, nullptr);
        auto talk = Talk(*client, detour, input).eagerlyEvaluate([](kj::Exception&&) {});
        auto end = connection.OnEnd().then([&] { queue.RequestStop(); }).eagerlyEvaluate([](kj::Exception&&) {});
        queue.Serve(io, nullptr);
    }
    queue.Close();
    storeWorker.Stop();
    blockingWorker.Stop();
    slowWorker.Stop();
}

} // namespace

void tfs::fuzz::Run(std::string_view input) {
    static kj::AsyncIoContext io = kj::setupAsyncIo();
    Serve(io, input);
}
