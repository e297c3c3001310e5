// SPDX-License-Identifier: GPL-2.0-or-later
// The change of settings through its proxy.
#include <contract/tfs/settings.h>
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/test_client.h>

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace tfs::test {

using Messages = std::vector<settings::ValidationMessage>;

class SetAppSettingsTest : public ::testing::Test {
protected:
    void SetUp() override {
        options.socketPath = folder.File("socket");
        options.developmentRun = true;
        server = std::make_unique<service::rpc::RpcServer>(options, service, service, feed, nullptr);
        ASSERT_EQ(server->Start(), ulk::sOk);
        service.messages = {{"KeyOfAText", {u"UseTSN", u"\xd800"}}, {"Another", {}}};
    }

    const settings::SettingsChangeList changes{
        settings::AppSettings::TypeNumber, {{"UseTSN", "Basic"}, {"UseTSN", std::string("\xff\0", 2)}}, true};
    TempFolder folder;
    FakeService service;
    FakeFeed feed{64};
    service::rpc::RpcServer::Options options;
    std::unique_ptr<service::rpc::RpcServer> server;
};

TEST_F(SetAppSettingsTest, CarriesTheListAndBringsTheMessagesWithEveryCode) {
    Client client(options.socketPath);
    const auto handler = client.Get<IAppSettingsHandler>();
    ASSERT_EQ(client.result, ulk::sOk);
    bool accept = false;
    for (const result_t code : {ulk::sOk, sInvalidSettings, eBlockedByPolicy, eTsnNotAccepted, ulk::eAccessDenied}) {
        service.code = code;
        accept = !accept;
        Messages messages(5);
        EXPECT_EQ(handler->SetAppSettings(changes, messages, accept), code);
        EXPECT_EQ(messages, service.messages);
        EXPECT_EQ(service.Last().changes, changes);
        EXPECT_EQ(service.Last().acceptTsn, accept);
        EXPECT_EQ(service.Last().caller.uid, ::geteuid());
    }
    server->Stop();
    Messages messages(5);
    EXPECT_EQ(handler->SetAppSettings(changes, messages, false), ulk::eNotReady);
    EXPECT_EQ(messages.size(), 5u); // no answer, no messages
}

TEST_F(SetAppSettingsTest, IsForAdministratorsAlone) {
    constexpr uid_t Nobody = 65534;
    if (::geteuid() != 0) { // then the own user has to do without the right
        server.reset();
        options.developmentRun = false;
        server = std::make_unique<service::rpc::RpcServer>(options, service, service, feed, nullptr);
        ASSERT_EQ(server->Start(), ulk::sOk);
    }
    std::thread([&] {
        if (::geteuid() == 0) {
            ASSERT_EQ(::syscall(SYS_setresuid, -1, Nobody, -1), 0);
        }
        Client client(options.socketPath);
        const auto handler = client.Get<IAppSettingsHandler>();
        ASSERT_EQ(client.result, ulk::sOk);
        Messages messages;
        EXPECT_EQ(handler->SetAppSettings(changes, messages, false), ulk::eAccessDenied);
        EXPECT_TRUE(messages.empty());
    }).join();
    EXPECT_EQ(service.BlockingCalls(), 0);
}

} // namespace tfs::test
