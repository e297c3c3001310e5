// SPDX-License-Identifier: GPL-2.0-or-later
// Storage over the socket: pages, long changes, and what a service without it answers.
#include <contract/tfs/backup.h>
#include <contract/tfs/tasks.h>
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/fake_storage.h>
#include <tests/unit/remoting/gate.h>
#include <tests/unit/remoting/test_client.h>
#include <wire/backup_records.h>
#include <wire/text.h>

#include <capnp/message.h>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace tfs::test {

class BackupTest : public ::testing::Test {
protected:
    void Start() {
        options.socketPath = folder.File("socket");
        m_server = std::make_unique<service::rpc::RpcServer>(
            options, service, service::rpc::BlockingApis(service, &storage), feed, nullptr);
        ASSERT_EQ(m_server->Start(), ulk::sOk);
        auto settings = Settings(options.socketPath);
        settings.callTimeoutMs = callTimeoutMs;
        m_client = std::make_unique<Client>(settings);
        manager = m_client->Get<ITfstBackupManager>();
        ASSERT_TRUE(manager);
    }
    void Fill(BackupId count, const ulk::types::string16_t& name) {
        for (BackupId id = 1; id <= count; ++id)
            storage.items.push_back({id * 3, name, 2, "Test-Signature", {1234567}, id});
    }
    Client& Connection() { return *m_client; }
    void StopServer() { m_server.reset(); }

    TempFolder folder;
    FakeService service;
    FakeStorage storage;
    FakeFeed feed{64};
    service::rpc::RpcServer::Options options;
    std::uint32_t callTimeoutMs = 0;
    ulk::Ptr<ITfstBackupManager> manager;

private:
    std::unique_ptr<service::rpc::RpcServer> m_server;
    std::unique_ptr<Client> m_client;
};

TEST_F(BackupTest, RecordsAndFiltersArriveAsTheyAre) {
    storage.items = {{0, u"", 0, "", {0}, 0},
                     {7, u"/tmp/\xd800 \u0444", 3, "Name\xff", {-5}, 1},
                     {~std::uint64_t{0}, u"/c", ~std::uint32_t{0}, "x", {std::int64_t{1} << 62}, ~std::uint64_t{0}}};
    storage.settings = {12, 34};
    Start();
    BackupItems items(5);
    const QueryFilter filter{{u"ObjectId", u"==", std::uint64_t{7}, u"OR"},
                             {u"ChildrenList", u"contains", ~std::uint64_t{0}, u"AND"}};
    ASSERT_EQ(manager->Query(filter, items), ulk::sOk);
    EXPECT_EQ(items, storage.items);
    EXPECT_EQ(storage.Last().filter, filter);
    EXPECT_EQ(storage.Last().caller.uid, ::geteuid());
    EXPECT_EQ(manager->Remove(filter), ulk::sOk);
    EXPECT_EQ(storage.Last().method, "remove");
    EXPECT_EQ(storage.Last().filter, filter);
    EXPECT_EQ(manager->Restore(~std::uint64_t{0}), ulk::sOk);
    EXPECT_EQ(storage.Last().id, ~std::uint64_t{0});
    EXPECT_EQ(storage.Last().caller.isAdministrator, ::geteuid() == 0);
    settings::BackupSettings settings;
    const auto configurator = Connection().Get<ITfsBackupConfigurator>();
    ASSERT_TRUE(configurator);
    EXPECT_EQ(configurator->GetSettings(settings), ulk::sOk);
    EXPECT_EQ(settings, storage.settings);

    storage.code = eReadOnlyFileSystem;
    settings = {1, 1};
    EXPECT_EQ(configurator->GetSettings(settings), eReadOnlyFileSystem);
    EXPECT_EQ(settings, (settings::BackupSettings{1, 1}));
    EXPECT_EQ(manager->Restore(1), eReadOnlyFileSystem);
    items.resize(1);
    EXPECT_EQ(manager->Query({}, items), eReadOnlyFileSystem);
    EXPECT_EQ(items.size(), 1u);
}

TEST_F(BackupTest, TenThousandObjectsComeInPagesWellWithinTheDeadline) {
    Fill(10'000, ulk::types::string16_t(std::size_t{200}, u'x'));
    Start();
    BackupItems items;
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(manager->Query({}, items), ulk::sOk);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_EQ(items, storage.items);
    EXPECT_GE(storage.Queries(), 3);

    storage.failingQuery = storage.Queries() + 2;
    items.resize(1);
    EXPECT_EQ(manager->Query({}, items), ulk::eLocked);
    EXPECT_EQ(items.size(), 1u) << "a page that fails leaves the list alone";
}

TEST_F(BackupTest, AnObjectLargerThanAPageIsAPage) {
    Fill(3, ulk::types::string16_t(std::size_t{2'000'000}, u'x'));
    Start();
    BackupItems items;
    ASSERT_EQ(manager->Query({}, items), ulk::sOk);
    EXPECT_EQ(items, storage.items);
    EXPECT_EQ(storage.Queries(), 3);
}

TEST_F(BackupTest, AChangeThatTakesItsTimeHoldsUpNoOtherCall) {
    Gate gate;
    storage.duringChange = [&] { gate.Pass(); };
    service.stored.resize(1);
    callTimeoutMs = 100;
    options.slowThreads = 1;
    Start();
    result_t restored = ulk::eUnexpected;
    std::thread restorer([&] { restored = manager->Restore(1); });
    ASSERT_TRUE(gate.WaitFor(1));
    BackupItems items;
    const auto storer = Connection().Get<IEventStorer>();
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(callTimeoutMs * 3);
    while (std::chrono::steady_clock::now() < end) {
        std::uint64_t count = 0;
        ASSERT_EQ(storer->GetEventCount(count), ulk::sOk);
        ASSERT_EQ(manager->Query({}, items), ulk::sOk);
    }
    gate.Open();
    restorer.join();
    EXPECT_EQ(restored, ulk::sOk) << "the deadline of other calls isn't its own";
}

TEST_F(BackupTest, ALongChangeEndsWithTheConnection) {
    Gate gate;
    storage.duringChange = [&] { gate.Pass(); };
    Start();
    std::atomic<result_t> removed{ulk::sOk};
    std::thread remover([&] { removed = manager->Remove({}); });
    ASSERT_TRUE(gate.WaitFor(1));
    std::thread stopper([&] { StopServer(); }); // waits for the change
    EXPECT_TRUE(WaitFor([&] { return removed == ulk::eNotReady; }));
    gate.Open();
    stopper.join();
    remover.join();
}

TEST_F(BackupTest, ABrokenFilterIsRefusedBeforeStorageSeesIt) {
    Start();
    ulk::types::variant_t value(1);
    for (int i = 0; i < 20; ++i)
        value = ulk::types::variant_t::Vector{value};
    BackupItems items;
    EXPECT_TRUE(ULK_FAILED(manager->Query({{u"ObjectId", u"==", value, u"AND"}}, items)));
    QueryFilter huge(20'000, {u"ObjectId", u"==", std::uint64_t{1}, u"OR"});
    EXPECT_EQ(manager->Remove(huge), ulk::eInvalidSize);
    EXPECT_EQ(storage.Queries(), 0);
    EXPECT_TRUE(storage.Last().method.empty());

    capnp::MallocMessageBuilder message;
    auto builder = message.initRoot<wire::schema::BackupItem>();
    builder.setObjectName(wire::AsData(std::string_view("odd")));
    BackupItemInfo item;
    EXPECT_ANY_THROW(wire::Read(builder.asReader(), item));
}

TEST(WithoutStorage, ItsInterfacesAreNotThere) {
    TempFolder folder;
    FakeService service;
    FakeFeed feed{64};
    service::rpc::RpcServer::Options options;
    options.socketPath = folder.File("socket");
    service::rpc::RpcServer server(options, service, service, feed, nullptr);
    ASSERT_EQ(server.Start(), ulk::sOk);
    Client client(options.socketPath);
    EXPECT_FALSE(client.Get<ITfstBackupManager>());
    EXPECT_EQ(client.result, ulk::eNoInterface);
    EXPECT_FALSE(client.Get<ITfsBackupConfigurator>());
    EXPECT_TRUE(client.Get<ITfsTaskManager>());
}

} // namespace tfs::test
