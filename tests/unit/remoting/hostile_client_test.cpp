// SPDX-License-Identifier: GPL-2.0-or-later
// Clients that do everything wrong; each costs its own connection and nothing else.
#include <contract/tfs/tasks.h>
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/raw_peer.h>
#include <tests/unit/remoting/test_client.h>
#include <wire/protocol.h>
#include <wire/tesl.capnp.h>

#include <capnp/rpc.capnp.h>
#include <capnp/serialize.h>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <sys/socket.h>
#include <unistd.h>

namespace tfs::test {

using namespace std::chrono_literals;
namespace rpc = capnp::rpc;

class HostileClientTest : public ::testing::Test {
protected:
    void Start() {
        options.socketPath = folder.File("socket");
        m_server = std::make_unique<service::rpc::RpcServer>(options, service, service, feed, nullptr);
        ASSERT_EQ(m_server->Start(), ulk::sOk);
    }
    void TearDown() override {
        // Whatever went before, an honest client is served.
        ASSERT_TRUE(WaitFor([&] {
            Client client(options.socketPath);
            return ULK_SUCCEEDED(client.result) && client.Get<ITfsTaskManager>()->StartTask(u"2") == ulk::sOk;
        }));
        ASSERT_TRUE(WaitFor([&] { return m_server->Figures().connections == 0; }));
    }
    service::rpc::RpcServerFigures Figures() { return m_server->Figures(); }

    TempFolder folder;
    FakeService service;
    FakeFeed feed{64};
    service::rpc::RpcServer::Options options;

private:
    std::unique_ptr<service::rpc::RpcServer> m_server;
};

std::string Bytes(capnp::MessageBuilder& message) {
    const auto words = capnp::messageToFlatArray(message);
    const auto bytes = words.asBytes();
    return std::string(reinterpret_cast<const char*>(bytes.begin()), bytes.size());
}

std::string Bootstrap(std::uint32_t question) {
    capnp::MallocMessageBuilder message;
    message.initRoot<rpc::Message>().initBootstrap().setQuestionId(question);
    return Bytes(message);
}

/// A call to the object that question 0 asked for.
std::string Call(std::uint32_t question, std::uint16_t method, std::uint32_t capabilities = 0) {
    capnp::MallocMessageBuilder message;
    auto call = message.initRoot<rpc::Message>().initCall();
    call.setQuestionId(question);
    call.initTarget().initPromisedAnswer().setQuestionId(0);
    call.setInterfaceId(capnp::typeId<wire::schema::Locator>());
    call.setMethodId(method);
    auto params = call.initParams();
    if (method == 0)
        params.getContent().initAs<wire::schema::Locator::HelloParams>().setVersion(wire::ProtocolVersion);
    auto table = params.initCapTable(capabilities);
    for (capnp::uint i = 0; i < capabilities; ++i)
        table[i].setSenderHosted(i + 10);
    return Bytes(message);
}

std::string GetEventSubscriber(std::uint32_t question) {
    capnp::MallocMessageBuilder message;
    auto call = message.initRoot<rpc::Message>().initCall();
    call.setQuestionId(question);
    call.initTarget().initPromisedAnswer().setQuestionId(0);
    call.setInterfaceId(capnp::typeId<wire::schema::Locator>());
    call.setMethodId(2);
    call.initParams().getContent().initAs<wire::schema::Locator::GetInterfaceParams>().setId(IEventSubscriber::Iid);
    return Bytes(message);
}

class AnyReceiver final : public wire::schema::EventReceiver::Server {};

/// A call to the object that `subscriberQuestion` asked for, before there is an answer.
std::string Subscribe(std::uint32_t question, std::uint32_t subscriberQuestion) {
    capnp::MallocMessageBuilder message;
    capnp::BuilderCapabilityTable capabilities;
    auto call = capabilities.imbue(message.initRoot<rpc::Message>()).initCall();
    call.setQuestionId(question);
    auto answer = call.initTarget().initPromisedAnswer();
    answer.setQuestionId(subscriberQuestion);
    answer.initTransform(1)[0].setGetPointerField(0);
    call.setInterfaceId(capnp::typeId<wire::schema::EventSubscriber>());
    auto params = call.initParams();
    params.getContent().initAs<wire::schema::EventSubscriber::SubscribeParams>().setReceiver(kj::heap<AnyReceiver>());
    params.initCapTable(1)[0].setSenderHosted(10);
    return Bytes(message);
}

std::string Finish(std::uint32_t question) {
    capnp::MallocMessageBuilder message;
    message.initRoot<rpc::Message>().initFinish().setQuestionId(question);
    return Bytes(message);
}

TEST_F(HostileClientTest, GarbageEndsTheConnection) {
    Start();
    std::mt19937 random(1);
    const std::string frames[] = {
        std::string(64, '\xff'),
        std::string("\xff\xff\x00\x00", 4) + std::string(4000, '\x01'),
        std::string("\0\0\0\0\xff\xff\xff\x7f", 8) + std::string(64, '\0'),
        std::string("\0\0\0\0\0\0\0\x08", 8),                         // 1 GB
        std::string("\0\0\0\0\0\0\x04\0", 8) + std::string(64, '\0'), // 2 MB, over the limit
        Finish(77),                                                   // of no question
        Bootstrap(0) + Bootstrap(0),                                  // one number twice
    };
    for (const std::string& frame : frames) {
        const RawClient client(options.socketPath);
        client.Send(frame);
        EXPECT_TRUE(client.IsClosedWithin(1500ms)) << ::testing::PrintToString(frame.substr(0, 8));
    }
    for (int round = 0; round < 50; ++round) {
        const RawClient client(options.socketPath);
        std::string noise(1 + random() % 5000, '\0');
        for (char& byte : noise)
            byte = static_cast<char>(random());
        client.Send(noise);
    }
}

TEST_F(HostileClientTest, DisconnectAtEveryByteOfACallAndASubscription) {
    options.connectionsPerUser = 1000;
    options.connections = 1100;
    Start();
    const std::string session =
        Bootstrap(0) + Call(1, 0) + GetEventSubscriber(2) + Subscribe(3, 2) + Call(4, 1) + Finish(1);
    {
        const RawClient whole(options.socketPath);
        whole.Send(session);
        EXPECT_TRUE(WaitFor([this] { return Figures().subscriptions == 1; })) << "this is what a subscription is";
    }
    for (std::size_t size = 0; size <= session.size(); ++size) {
        const RawClient client(options.socketPath);
        client.Send(std::string_view(session).substr(0, size));
        feed.Publish(FullEvent());
    }
    EXPECT_TRUE(WaitFor([this] { return Figures().subscriptions == 0; }));
}

// What is under way when the connection breaks runs to its end, and must find nothing of the connection then.
TEST_F(HostileClientTest, CallsBehindWhichTheConnectionBreaks) {
    Start();
    const std::string greeted = Bootstrap(0) + Call(1, 0);
    const std::string garbage(64, '\xff');
    for (int round = 0; round < 200; ++round) {
        std::string calls;
        for (int i = 0; i <= round % 4; ++i)
            calls += Subscribe(3 + static_cast<std::uint32_t>(i), 2);
        RawClient(options.socketPath).Send(greeted + GetEventSubscriber(2) + calls + garbage);
        RawClient(options.socketPath).Send(greeted + garbage);
        RawClient(options.socketPath).Send(greeted + GetEventSubscriber(2) + calls + Finish(77));
    }
    EXPECT_TRUE(WaitFor([this] { return Figures().subscriptions == 0; }));
}

TEST_F(HostileClientTest, BytewiseFramesAreAnHonestClientsToo) {
    Start();
    const RawClient client(options.socketPath);
    for (const char byte : Bootstrap(0) + Call(1, 0))
        client.Send(std::string_view(&byte, 1));
    // Greeted in time, so the connection stays.
    EXPECT_FALSE(client.IsClosedWithin(2500ms));
}

TEST_F(HostileClientTest, SilenceAndHalfMessagesEndWithTheTimeForTheFirst) {
    options.firstMessageTime = 200ms;
    Start();
    const RawClient silent(options.socketPath);
    const RawClient half(options.socketPath);
    half.Send(std::string_view(Bootstrap(0)).substr(0, 10));
    const RawClient ungreeted(options.socketPath);
    ungreeted.Send(Bootstrap(0) + Call(1, 1));
    EXPECT_TRUE(silent.IsClosedWithin(2s));
    EXPECT_TRUE(half.IsClosedWithin(2s));
    EXPECT_TRUE(ungreeted.IsClosedWithin(2s));
}

TEST_F(HostileClientTest, ConnectionsOfAUserAreCapped) {
    Start();
    std::vector<std::unique_ptr<RawClient>> clients;
    for (unsigned i = 0; i < options.connectionsPerUser; ++i)
        clients.push_back(std::make_unique<RawClient>(options.socketPath));
    ASSERT_TRUE(WaitFor([&] { return Figures().connections == options.connectionsPerUser; }));
    // A few are given the time to greet, so that they can be told; the others aren't.
    for (int i = 0; i < 3; ++i)
        clients.push_back(std::make_unique<RawClient>(options.socketPath));
    EXPECT_TRUE(clients.back()->IsClosedWithin(1s));
    EXPECT_EQ(Figures().connections, options.connectionsPerUser);
    EXPECT_TRUE(clients[clients.size() - 2]->IsClosedWithin(options.firstMessageTime + 1s));
}

TEST_F(HostileClientTest, OpenCallsAreCapped) {
    Start();
    const RawClient client(options.socketPath);
    client.Send(Bootstrap(0) + Call(1, 0));
    // Each answered, none finished.
    std::string calls;
    for (std::uint32_t question = 2; question < 2 * options.callsInFlight + 3; ++question)
        calls += Call(question, 1);
    client.Send(calls);
    EXPECT_TRUE(client.IsClosedWithin(2s));
}

TEST_F(HostileClientTest, CapabilitiesOfAMessageAreCapped) {
    Start();
    const RawClient client(options.socketPath);
    client.Send(Bootstrap(0) + Call(1, 0) + Call(2, 1, 20'000));
    EXPECT_TRUE(client.IsClosedWithin(2s));
}

TEST_F(HostileClientTest, CallsWithoutReadingStopBeingRead) {
    Start();
    {
        const RawClient client(options.socketPath);
        client.Send(Bootstrap(0) + Call(1, 0));
        std::string calls;
        for (std::uint32_t i = 0; i < 100'000; ++i)
            calls += Call(2 + i % 32, 1) + Finish(2 + i % 32);
        client.Send(calls, 3s); // until the service takes no more
        EXPECT_LT(Figures().peakQueuedBytes, 1024u * 1024u);
        // Others are served meanwhile.
        Client honest(options.socketPath);
        EXPECT_EQ(honest.result, ulk::sOk);
        EXPECT_EQ(honest.Get<ITfsTaskManager>()->StartTask(u"2"), ulk::sOk);
    }
}

} // namespace tfs::test
