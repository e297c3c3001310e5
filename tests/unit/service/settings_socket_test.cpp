// SPDX-License-Identifier: GPL-2.0-or-later
// Settings from the command line's side of the socket to another client, with the whole service between.
#include <control/program.h>
#include <control/run_command.h>
#include <tests/unit/remoting/test_client.h>
#include <tests/unit/service/service_fixture.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace tfs::service::app {
namespace {

using nlohmann::json;
using tests::Eventually;
using types::AdditionalName;
using types::EventName;

constexpr uid_t Nobody = 65534;

std::string socketPath;

/// What tesl-control does once it has its modules.
control::ExitCode RunOverSocket(const control::CommandLine& line, control::IReporter& reporter) {
    const test::Client client(socketPath);
    return control::RunServiceCommand(line, {client.locator.Get(), [] { return true; }, [] { return 0u; }, reporter});
}

struct Answer {
    int code;
    json document;
};

Answer Control(std::vector<std::string> arguments) {
    arguments.emplace_back("--json");
    std::ostringstream out;
    std::ostringstream err;
    const int code = control::RunProgram(arguments, out, err, RunOverSocket);
    return {code, json::parse(out.str())};
}

struct SettingsSocketTest : testing::Test {
    SettingsSocketTest() {
        socketPath = PathsIn(folder).socket;
        folder.Write("statement", "what is sent");
        ::chmod(folder.Path().c_str(), 0755); // strangers may come as far as the socket
        Start(true);
    }
    void Start(bool isDevelopmentRun) {
        service.reset();
        ServiceOptions options;
        options.developmentRun = isDevelopmentRun;
        service = std::make_unique<ServiceApp>(PathsIn(folder), options);
        std::string problem;
        EXPECT_EQ(service->Start(problem), ulk::sOk) << problem;
    }

    tests::TempFolder folder;
    std::unique_ptr<ServiceApp> service;
};

TEST_F(SettingsSocketTest, AChangeReachesAnotherClient) {
    test::Client watcher(socketPath);
    const auto subscriber = watcher.Get<IEventSubscriber>();
    const auto receiver = ulk::Ptr<test::Receiver>::Adopt(new test::Receiver);
    ASSERT_EQ(subscriber->Subscribe(receiver.Get(), {{EventName::ApplicationSettingsChanged}, {}, {}}), ulk::sOk);

    EXPECT_EQ(Control({"--set-app-settings", "UseTSN=Basic", "TraceMaxFileCount=9", "--accept-tsn"}).code, 0);
    ASSERT_TRUE(Eventually([&] { return receiver->Count() == 1; }));
    const Event told = receiver->Events()[0];
    ulk::types::string16_t text;
    ASSERT_EQ(told.GetAdditionalData(AdditionalName::Settings, text), ulk::sOk);
    EXPECT_EQ(text, u"TraceMaxFileCount=9, UseTSN=Basic");
    ASSERT_TRUE(told.initiatorUser);
    EXPECT_EQ(told.initiatorUser->uid, ::geteuid());

    ulk::types::any_struct_t holder;
    ASSERT_EQ(watcher.Get<IAppSettingsHandler>()->GetAppSettings(holder), ulk::sOk);
    ASSERT_NE(holder.Get<tfs::settings::AppSettings>(), nullptr);
    EXPECT_EQ(holder.Get<tfs::settings::AppSettings>()->useTsn, types::TsnUsage::Basic);
    EXPECT_EQ(Control({"--get-app-settings", "TraceMaxFileCount"}).document.at("settings"),
              json::parse(R"({"TraceMaxFileCount": "9"})"));
}

TEST_F(SettingsSocketTest, EachRefusalReachesTheUser) {
    Answer answer = Control({"--set-app-settings", "TraceMaxFileCount=none"});
    EXPECT_EQ(answer.code, 78);
    EXPECT_NE(answer.document.at("error").at("text").get<std::string>().find("TraceMaxFileCount"), std::string::npos);
    answer = Control({"--set-app-settings", "NoSuchKey=1"});
    EXPECT_EQ(answer.code, 78);
    EXPECT_NE(answer.document.at("error").at("text").get<std::string>().find("NoSuchKey"), std::string::npos);
    EXPECT_EQ(Control({"--set-app-settings", "--file", folder.Write("empty.ini", "\n\n")}).code, 78);

    answer = Control({"--set-app-settings", "UseTSN=Basic"});
    EXPECT_EQ(answer.code, 5);
    EXPECT_NE(answer.document.at("error").at("text").get<std::string>().find(folder.File("statement")),
              std::string::npos);

    ASSERT_EQ(::mkdir(folder.File("policy.d").c_str(), 0755), 0);
    folder.Write("policy.d/a.ini", "UseSyslog=no\n");
    ASSERT_EQ(::chmod(folder.File("policy.d/a.ini").c_str(), 0600), 0);
    PolicyState state;
    ASSERT_TRUE(Eventually([&] { return service->Api().GetPolicy(state) == ulk::sOk; }));
    answer = Control({"--set-app-settings", "UseSyslog=yes"});
    EXPECT_EQ(answer.code, 4);
    EXPECT_NE(answer.document.at("error").at("text").get<std::string>().find("UseSyslog"), std::string::npos);

    EXPECT_EQ(Control({"--set-app-settings", "UseTSN=Basic", "--accept-tsn"}).code, 0);
    EXPECT_EQ(CountOf(service->Events(), EventName::TsnStateChanged), 1u);
}

TEST_F(SettingsSocketTest, AStrangerMayReadAndNotChange) {
    Start(false); // a user who isn't root has no more right than a stranger then
    std::thread([] {
        if (::geteuid() == 0) {
            ASSERT_EQ(::syscall(SYS_setresuid, -1, Nobody, -1), 0);
        }
        EXPECT_EQ(Control({"--get-app-settings"}).code, 0);
        EXPECT_EQ(Control({"--set-app-settings", "UseSyslog=yes"}).code, 77);
        EXPECT_EQ(Control({"--set-app-settings", "NoSuchKey=yes"}).code, 77);
    }).join();
    EXPECT_EQ(CountOf(service->Events(), EventName::ApplicationSettingsChanged), 0u);
    EXPECT_FALSE(std::filesystem::exists(PathsIn(folder).configuration));
}

} // namespace
} // namespace tfs::service::app
