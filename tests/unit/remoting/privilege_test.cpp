// SPDX-License-Identifier: GPL-2.0-or-later
// Which method needs which privilege, and that the need is kept.
#include <service/rpc/administrators.h>
#include <service/rpc/method.h>
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/raw_peer.h>
#include <tests/unit/remoting/test_client.h>
#include <wire/socket_address.h>
#include <wire/tesl.capnp.h>
#include <wire/text.h>

#include <capnp/rpc-twoparty.h>
#include <capnp/schema.h>
#include <gtest/gtest.h>
#include <kj/async-io.h>
#include <map>
#include <set>
#include <string>
#include <unistd.h>

namespace tfs::test {

using service::rpc::Caller;
using service::rpc::Method;
using service::rpc::Privilege;
namespace schema = wire::schema;

template <class... Interfaces>
std::map<std::uint64_t, capnp::InterfaceSchema> Schemas() {
    return {{capnp::typeId<Interfaces>(), capnp::Schema::from<Interfaces>()}...};
}

TEST(MethodTables, HoldEveryMethodOfTheSchemaUnderItsOwnName) {
    const auto schemas =
        Schemas<schema::Locator, schema::AppInfoProvider, schema::AppSettingsHandler, schema::PolicyProvider,
                schema::PolicyManager, schema::TaskManager, schema::EventStorer, schema::EventSubscriber,
                schema::EventSubscription, schema::BackupManager, schema::BackupConfigurator>();
    std::set<std::pair<std::uint64_t, std::uint16_t>> seen;
    for (const auto table : service::rpc::AllMethodTables())
        for (const Method& method : table) {
            const auto found = schemas.find(method.InterfaceId());
            ASSERT_NE(found, schemas.end()) << method.Name();
            const auto methods = found->second.getMethods();
            ASSERT_LT(method.Ordinal(), methods.size()) << method.Name();
            EXPECT_STREQ(methods[method.Ordinal()].getProto().getName().cStr(), method.Name());
            EXPECT_TRUE(seen.insert({method.InterfaceId(), method.Ordinal()}).second) << method.Name();
        }
    std::size_t expected = 0;
    for (const auto& [id, interface] : schemas)
        expected += interface.getMethods().size();
    EXPECT_EQ(seen.size(), expected);
}

TEST(MethodTables, DeclareTheAgreedPrivileges) {
    const std::set<std::string> owners = {"startTask",  "stopTask",        "pauseTask",       "resumeTask",
                                          "deleteTask", "deleteStatistic", "setTaskSettings", "setSchedule",
                                          "remove",     "restore"};
    const std::set<std::string> administrators = {"setAppSettings"};
    for (const auto table : service::rpc::AllMethodTables())
        for (const Method& method : table)
            EXPECT_EQ(method.Needs(), owners.count(method.Name()) != 0           ? Privilege::Owner
                                      : administrators.count(method.Name()) != 0 ? Privilege::Administrator
                                                                                 : Privilege::Anyone)
                << method.Name();
}

/// An object with a method of each privilege.
class GuardedObject final : public service::rpc::ServiceObject {
public:
    explicit GuardedObject(const Caller& caller, int& calls) : ServiceObject(Methods(), caller), m_calls(calls) {}
    static std::span<const Method> Methods() {
        static constexpr Method Table[] = {
            Method::Of<schema::TaskManager, &GuardedObject::Start>(4, "startTask", Privilege::Anyone),
            Method::Of<schema::TaskManager, &GuardedObject::Stop>(5, "stopTask", Privilege::Owner),
            Method::Of<schema::TaskManager, &GuardedObject::Delete>(8, "deleteTask", Privilege::Administrator),
            Method::Of<schema::TaskManager, &GuardedObject::Fail>(6, "pauseTask", Privilege::Anyone),
        };
        return Table;
    }

private:
    using Schema = schema::TaskManager;
    result_t Start(Schema::StartTaskParams::Reader, Schema::StartTaskResults::Builder) { return Called(); }
    result_t Stop(Schema::StopTaskParams::Reader, Schema::StopTaskResults::Builder) { return Called(); }
    result_t Delete(Schema::DeleteTaskParams::Reader, Schema::DeleteTaskResults::Builder) { return Called(); }
    result_t Fail(Schema::PauseTaskParams::Reader, Schema::PauseTaskResults::Builder) {
        throw std::runtime_error("a fault in a body");
    }
    result_t Called() {
        ++m_calls;
        return ulk::sOk;
    }

    int& m_calls;
};

TEST(MethodCall, PrivilegeIsTestedBeforeTheBody) {
    auto io = kj::setupAsyncIo();
    for (const bool isAdministrator : {false, true}) {
        int calls = 0;
        auto client = capnp::Capability::Client(kj::heap<GuardedObject>(Caller{1000, isAdministrator, 1}, calls))
                          .castAs<schema::TaskManager>();
        EXPECT_EQ(client.startTaskRequest().send().wait(io.waitScope).getResult(), ulk::sOk);
        EXPECT_EQ(client.stopTaskRequest().send().wait(io.waitScope).getResult(), ulk::sOk);
        EXPECT_EQ(client.deleteTaskRequest().send().wait(io.waitScope).getResult(),
                  isAdministrator ? ulk::sOk : ulk::eAccessDenied);
        EXPECT_EQ(calls, isAdministrator ? 3 : 2);
        EXPECT_EQ(client.pauseTaskRequest().send().wait(io.waitScope).getResult(), ulk::eUnspecified);
        // Not in the table: not there, whatever the schema says.
        EXPECT_ANY_THROW(client.resumeTaskRequest().send().wait(io.waitScope));
    }
}

TEST(Administrators, AreRootTheGroupAndInDevelopmentOneself) {
    EXPECT_TRUE(service::rpc::LookUpAdministrator(0, "tesl-admin", false));
    EXPECT_FALSE(service::rpc::LookUpAdministrator(65534, "tesl-admin", false));
    EXPECT_FALSE(service::rpc::LookUpAdministrator(65534, "", false));
    EXPECT_FALSE(service::rpc::LookUpAdministrator(3'999'999'999u, "root", false));
    EXPECT_TRUE(service::rpc::LookUpAdministrator(::geteuid(), "no-such-group", true));
    // User "daemon" is in the group of its own name everywhere.
    EXPECT_TRUE(service::rpc::LookUpAdministrator(1, "daemon", false));
}

TEST(AdministratorCacheTest, AnswersLapseAndAreReplaced) {
    service::rpc::AdministratorCache cache(std::chrono::hours(1));
    EXPECT_EQ(cache.Find(1000), std::nullopt);
    cache.Remember(1000, true);
    cache.Remember(1001, false);
    EXPECT_EQ(cache.Find(1000), true);
    EXPECT_EQ(cache.Find(1001), false);
    cache.Remember(1000, false);
    EXPECT_EQ(cache.Find(1000), false) << "the number may be another person's by now";
    service::rpc::AdministratorCache brief(std::chrono::seconds(0));
    brief.Remember(1000, true);
    EXPECT_TRUE(WaitFor([&] { return !brief.Find(1000); }));
}

TEST(Handshake, ServiceRefusesAnotherVersionAndAnythingBeforeTheGreeting) {
    TempFolder folder;
    FakeService service;
    FakeFeed feed(64);
    service::rpc::RpcServer::Options options;
    options.socketPath = folder.File("socket");
    service::rpc::RpcServer server(options, service, service, feed, nullptr);
    ASSERT_EQ(server.Start(), ulk::sOk);

    auto io = kj::setupAsyncIo();
    auto socket = io.provider->getNetwork().parseAddress("unix:" + options.socketPath).wait(io.waitScope);
    auto stream = socket->connect().wait(io.waitScope);
    capnp::TwoPartyClient client(*stream);
    auto locator = client.bootstrap().castAs<schema::Locator>();
    auto early = locator.getInterfaceRequest();
    early.setId(ITfsTaskManager::Iid);
    EXPECT_EQ(early.send().wait(io.waitScope).getResult(), ulk::eInvalidState);
    auto hello = locator.helloRequest();
    hello.setVersion(wire::ProtocolVersion + 1);
    auto answer = hello.send().wait(io.waitScope);
    EXPECT_EQ(answer.getResult(), ulk::eInvalidVersion);
    EXPECT_EQ(answer.getVersion(), wire::ProtocolVersion);
    auto refused = locator.getInterfaceRequest();
    refused.setId(ITfsTaskManager::Iid);
    EXPECT_EQ(refused.send().wait(io.waitScope).getResult(), ulk::eInvalidState);
}

/// A service that answers every greeting with a code and a version of the test's choice.
class OtherLocator final : public schema::Locator::Server {
public:
    OtherLocator(result_t code, std::uint32_t version) : m_code(code), m_version(version) {}
    kj::Promise<void> hello(HelloContext context) override {
        context.getResults().setResult(m_code);
        context.getResults().setVersion(m_version);
        return kj::READY_NOW;
    }

private:
    const result_t m_code;
    const std::uint32_t m_version;
};

TEST(Handshake, ClientRefusesAnotherVersionAndTakesARefusal) {
    const std::tuple<result_t, std::uint32_t, result_t> cases[] = {
        {ulk::sOk, wire::ProtocolVersion + 1, ulk::eInvalidVersion},
        {ulk::eInvalidVersion, wire::ProtocolVersion + 1, ulk::eInvalidVersion},
        {ulk::eAccessDenied, wire::ProtocolVersion, ulk::eAccessDenied},
    };
    for (const auto& [code, version, expected] : cases) {
        TempFolder folder;
        const Stranger stranger(folder.File("socket"), [code = code, version = version](int peer) {
            auto io = kj::setupAsyncIo();
            auto stream = io.lowLevelProvider->wrapSocketFd(peer);
            capnp::TwoPartyServer server(kj::heap<OtherLocator>(code, version));
            server.accept(*stream).wait(io.waitScope);
        });
        ulk::Ptr<ulk::remoting::IRemoteConnection> connection;
        EXPECT_EQ(Connect(Settings(folder.File("socket")), connection), expected);
    }
}

} // namespace tfs::test
