// SPDX-License-Identifier: GPL-2.0-or-later
// What the service's trace says of its callers' own words.
#include <contract/tfs/event.h>
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/library_client.h>
#include <tests/unit/remoting/test_client.h>
#include <tests/unit/tfs_common/recording_tracer.h>

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tfs::test {

namespace schema = wire::schema;

class CallerTraceTest : public ::testing::Test {
protected:
    CallerTraceTest() {
        service::rpc::RpcServer::Options options;
        options.socketPath = path;
        server = std::make_unique<service::rpc::RpcServer>(options, service, service, feed, tracer.Get());
        EXPECT_EQ(server->Start(), ulk::sOk);
    }
    std::ptrdiff_t Lines(const std::string& end) const {
        const auto lines = tracer->Lines();
        const std::string begin =
            "800 rpc: user " + std::to_string(::geteuid()) + " (process " + std::to_string(::getpid()) + ") ";
        return std::count(lines.begin(), lines.end(), begin + end);
    }

    TempFolder folder;
    const std::string path = folder.File("socket");
    FakeService service;
    FakeFeed feed{64};
    const ulk::Ptr<::test::RecordingTracer> tracer =
        ulk::Ptr<::test::RecordingTracer>::Adopt(new ::test::RecordingTracer());
    std::unique_ptr<service::rpc::RpcServer> server;
};

TEST_F(CallerTraceTest, ProgramsAndSubscriptionsAreNamed) {
    Client client(path);
    const auto receiver = ulk::Ptr<Receiver>::Adopt(new Receiver());
    ASSERT_EQ(client.Get<IEventSubscriber>()->Subscribe(receiver.Get(), {}), ulk::sOk);
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").filename();
    EXPECT_EQ(Lines("greets as \"" + program + "\""), 1);
    EXPECT_EQ(Lines("subscribes as \"TestReceiver\""), 1);
}

TEST_F(CallerTraceTest, NamesAreCutAndToldOnce) {
    LibraryClient client(path, std::string(500'000, 'x'));
    client.Locator().helloRequest().send().wait(client.Scope());
    auto again = client.Locator().helloRequest();
    again.setVersion(wire::ProtocolVersion);
    EXPECT_EQ(again.send().wait(client.Scope()).getResult(), ulk::sOk);
    EXPECT_EQ(Lines("greets as \"" + std::string(64, 'x') + "\"..."), 1);

    auto subscriber = client.Get(IEventSubscriber::Iid).castAs<schema::EventSubscriber>();
    const auto subscribe = [&](capnp::Data::Reader name) {
        auto request = subscriber.subscribeRequest();
        request.setReceiver(client.Locator().castAs<schema::EventReceiver>());
        request.setName(name);
        return request.send().wait(client.Scope()).getResult();
    };
    EXPECT_EQ(subscribe(wire::AsData(std::u16string(300'000, u'y'))), ulk::sOk);
    EXPECT_EQ(Lines("subscribes as \"" + std::string(64, 'y') + "\"..."), 1);
    EXPECT_EQ(subscribe(wire::AsData(std::string_view("odd"))), ulk::eInvalidArgument);
}

} // namespace tfs::test
