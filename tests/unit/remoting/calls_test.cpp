// SPDX-License-Identifier: GPL-2.0-or-later
// Every operation of every proxy, with all its fields, from the caller to the service and back.
#include <contract/tfs/app_info.h>
#include <contract/tfs/tasks.h>
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/test_client.h>

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace tfs::test {

using ulk::types::string16_t;

class CallsTest : public ::testing::Test {
protected:
    void Start() {
        service::rpc::RpcServer::Options options;
        options.socketPath = folder.File("socket");
        m_server = std::make_unique<service::rpc::RpcServer>(options, service, service, feed, nullptr);
        ASSERT_EQ(m_server->Start(), ulk::sOk);
    }

    TempFolder folder;
    FakeService service;
    FakeFeed feed{64};

private:
    std::unique_ptr<service::rpc::RpcServer> m_server;
};

TEST_F(CallsTest, StateReadsBringAllFields) {
    service.appInfo = FullAppInfo();
    service.appSettings = {.sambaConfigPath = "/a",
                           .nfsExportsPath = "/b",
                           .traceFolder = "/c",
                           .traceLevel = types::TraceLevel::Detailed,
                           .traceMaxFileCount = 3,
                           .traceMaxFileSize = 4,
                           .traceFolderSizeLimit = 5,
                           .eventsStoragePath = "/d",
                           .maxEventsNumber = 6,
                           .offlineTsnStatsFolder = "/e",
                           .useTsn = types::TsnUsage::Extended,
                           .uiReportsForRootOnly = true,
                           .limitNumberOfScanFileTasks = 7,
                           .useSyslog = true,
                           .daysToLive = 8,
                           .backupSizeLimit = 9};
    service.policy.name = u"Head office";
    service.localTasks = false;
    service.groupTasks = true;
    Start();
    Client client(folder.File("socket"));
    ASSERT_EQ(client.result, ulk::sOk);

    AppInfo info;
    ASSERT_EQ(client.Get<IAppInfoProvider>()->GetAppInfo(info), ulk::sOk);
    const AppInfo full = FullAppInfo();
    EXPECT_EQ(info.avBasesLoaded, full.avBasesLoaded);
    EXPECT_EQ(info.avBasesDate, full.avBasesDate);
    EXPECT_EQ(info.lastUpdateTime, full.lastUpdateTime);
    EXPECT_EQ(info.lastMyCompScanTime, full.lastMyCompScanTime);
    EXPECT_EQ(info.applicationUpdateState, full.applicationUpdateState);
    EXPECT_EQ(info.isOASEnabled, full.isOASEnabled);
    EXPECT_EQ(info.canRunProtection, full.canRunProtection);
    EXPECT_EQ(info.isRollbackAvailable, full.isRollbackAvailable);
    EXPECT_EQ(info.avRecordsCount, full.avRecordsCount);
    EXPECT_EQ(info.applicationVersion, full.applicationVersion);
    EXPECT_EQ(info.engineVersion, full.engineVersion);
    EXPECT_EQ(info.scannerWorkers, full.scannerWorkers);
    EXPECT_EQ(info.applicationUpdateVersion, full.applicationUpdateVersion);
    EXPECT_EQ(info.systemName, full.systemName);
    EXPECT_EQ(info.systemVersion, full.systemVersion);

    ulk::types::any_struct_t holder;
    ASSERT_EQ(client.Get<IAppSettingsHandler>()->GetAppSettings(holder), ulk::sOk);
    ASSERT_NE(holder.Get<settings::AppSettings>(), nullptr);
    EXPECT_EQ(*holder.Get<settings::AppSettings>(), service.appSettings);

    PolicyState state;
    EXPECT_EQ(client.Get<IPolicyManager>()->GetPolicy(state), ulk::sOk);
    EXPECT_EQ(state.name, service.policy.name);

    const auto policy = client.Get<IPolicyProvider>();
    bool local = true;
    bool group = false;
    EXPECT_EQ(policy->IsUserManageTasksAllowed(local, group), ulk::sOk);
    EXPECT_FALSE(local);
    EXPECT_TRUE(group);
    bool allowed = false;
    EXPECT_EQ(policy->CanBeStarted(u"File_Monitoring", allowed), ulk::sOk);
    EXPECT_TRUE(allowed);
    EXPECT_EQ(service.Last().method, "CanBeStarted");
    EXPECT_EQ(service.Last().text, u"File_Monitoring");
    allowed = false;
    EXPECT_EQ(policy->CanBeStopped(u"Rollback", allowed), ulk::sOk);
    EXPECT_TRUE(allowed);
    EXPECT_EQ(service.Last().method, "CanBeStopped");
}

void ExpectFull(const core::TaskInfo& task) {
    const core::TaskInfo full = FullTaskInfo();
    EXPECT_EQ(task.taskId, full.taskId);
    EXPECT_EQ(task.taskName, full.taskName);
    EXPECT_EQ(task.taskType, full.taskType);
    EXPECT_EQ(task.state, full.state);
    ASSERT_NE(task.settings.Get<ScanSettings>(), nullptr);
    EXPECT_EQ(*task.settings.Get<ScanSettings>(), *full.settings.Get<ScanSettings>());
    EXPECT_EQ(task.isTemporary, full.isTemporary);
    EXPECT_EQ(task.startTime, full.startTime);
    EXPECT_EQ(task.stopTime, full.stopTime);
    EXPECT_EQ(task.owner, full.owner);
    EXPECT_EQ(task.isCentralKit, full.isCentralKit);
    EXPECT_EQ(task.displayName, full.displayName);
    EXPECT_EQ(task.cannotBeDeleted, full.cannotBeDeleted);
}

TEST_F(CallsTest, TaskReadsBringAllFields) {
    service.tasks = {FullTaskInfo(), core::TaskInfo{}};
    service.statistics = {FullStatistic(), OxsStatistic{}};
    service.scanStatistic = FullScanStatistic();
    service.schedule = {2, u"every day", -7, 1ll << 50, 9};
    Start();
    Client client(folder.File("socket"));
    const auto manager = client.Get<ITfsTaskManager>();
    ASSERT_EQ(client.result, ulk::sOk);

    std::vector<core::TaskInfo> tasks(5);
    ASSERT_EQ(manager->GetTaskList(tasks), ulk::sOk);
    ASSERT_EQ(tasks.size(), 2u);
    ExpectFull(tasks[0]);
    EXPECT_TRUE(tasks[1].settings.empty());
    EXPECT_FALSE(tasks[1].owner.has_value());
    EXPECT_FALSE(tasks[1].cannotBeDeleted.has_value());

    std::vector<OxsStatistic> statistics;
    EXPECT_EQ(manager->GetStatistics(statistics), ulk::sOk);
    EXPECT_EQ(statistics, service.statistics);
    OxsStatistic statistic;
    EXPECT_EQ(manager->GetStatistic(u"Scan_File", statistic), ulk::sOk);
    EXPECT_EQ(statistic, FullStatistic());
    EXPECT_EQ(service.Last().text, u"Scan_File");
    ScanStatistic sum;
    EXPECT_EQ(manager->GetOdsStatistics(sum), ulk::sOk);
    EXPECT_EQ(sum, FullScanStatistic());
    TaskSchedule schedule;
    EXPECT_EQ(manager->GetSchedule(u"Update", schedule), ulk::sOk);
    EXPECT_EQ(schedule, service.schedule);
    core::TaskInfo task;
    EXPECT_EQ(manager->GetTaskInfo(u"2", task), ulk::sOk);
    ExpectFull(task);
    EXPECT_EQ(service.Last().text, u"2");
}

TEST_F(CallsTest, ProgressAndSettingsOfATaskArriveWhole) {
    service.progress = {57, 0};
    service.taskSettings = {ScanSettings::TypeNumber, {{"ScanAreas.item_0000", "/bad\xff\n"}, {"TimeLimit", ""}}, true};
    Start();
    Client client(folder.File("socket"));
    const auto manager = client.Get<ITfsTaskManager>();
    ASSERT_EQ(client.result, ulk::sOk);
    TaskProgress progress;
    ASSERT_EQ(manager->GetProgress(u"Update", progress), ulk::sOk);
    EXPECT_EQ(progress, service.progress) << "no time left isn't an unknown time";
    EXPECT_EQ(service.Last().text, u"Update");
    service.progress.secondsLeft.reset();
    ASSERT_EQ(manager->GetProgress(u"2", progress), ulk::sOk);
    EXPECT_EQ(progress, service.progress);
    settings::SettingsChangeList settings;
    ASSERT_EQ(manager->GetTaskSettings(u"2", settings), ulk::sOk);
    EXPECT_EQ(settings, service.taskSettings);
}

TEST_F(CallsTest, ChangesOfATaskCarryTheListAndBringTheMessagesWithEveryCode) {
    service.messages = {{"KeyOfAText", {u"StartTime", u"\xd800"}}, {"Another", {}}};
    Start();
    Client client(folder.File("socket"));
    const auto manager = client.Get<ITfsTaskManager>();
    ASSERT_EQ(client.result, ulk::sOk);
    const settings::SettingsChangeList changes{ScheduleSettings::TypeNumber, {{"RuleType", "Daily"}}, true};
    const std::pair<decltype(&ITfsTaskManager::SetSchedule), const char*> operations[] = {
        {&ITfsTaskManager::SetSchedule, "SetSchedule"}, {&ITfsTaskManager::SetTaskSettings, "SetTaskSettings"}};
    for (const auto& [operation, name] : operations)
        for (const result_t code : {ulk::sOk, sInvalidSettings, ulk::eAccessDenied}) {
            service.code = code;
            std::vector<settings::ValidationMessage> messages(5);
            EXPECT_EQ((manager.Get()->*operation)(u"Update", changes, code == ulk::sOk, messages), code);
            EXPECT_EQ(messages, service.messages);
            EXPECT_EQ(service.Last().method, name);
            EXPECT_EQ(service.Last().text, u"Update");
            EXPECT_EQ(service.Last().changes, changes);
            EXPECT_EQ(service.Last().toDefault, code == ulk::sOk);
            EXPECT_EQ(service.Last().caller.uid, ::geteuid());
        }
}

TEST_F(CallsTest, CommandsCarryTextsAndTheCaller) {
    service.tasks = {FullTaskInfo()};
    Start();
    Client client(folder.File("socket"));
    const auto manager = client.Get<ITfsTaskManager>();
    ASSERT_EQ(client.result, ulk::sOk);
    using Command = result_t (ITfsTaskManager::*)(const string16_t&);
    const std::pair<Command, const char*> commands[] = {
        {&ITfsTaskManager::StartTask, "StartTask"},   {&ITfsTaskManager::StopTask, "StopTask"},
        {&ITfsTaskManager::PauseTask, "PauseTask"},   {&ITfsTaskManager::ResumeTask, "ResumeTask"},
        {&ITfsTaskManager::DeleteTask, "DeleteTask"},
    };
    const string16_t text(u"t\u00e4sk \xdc00 \0 end", 13);
    for (const auto& [command, name] : commands) {
        EXPECT_EQ(((*manager).*command)(text), ulk::sOk);
        EXPECT_EQ(service.Last().method, name);
        EXPECT_EQ(service.Last().text, std::u16string(text));
        EXPECT_EQ(service.Last().caller.uid, ::geteuid());
        EXPECT_EQ(service.Last().caller.pid, ::getpid());
        EXPECT_EQ(service.Last().caller.isAdministrator, ::geteuid() == 0);
    }
    EXPECT_EQ(manager->DeleteStatistic(FullStatistic()), ulk::sOk);
    EXPECT_EQ(service.Last().statistic, FullStatistic());

    const ScanSettings settings = *FullTaskInfo().settings.Get<ScanSettings>();
    core::TaskInfo task;
    EXPECT_EQ(manager->CreateScanTask(settings, task), ulk::sOk);
    EXPECT_EQ(service.Last().settings, settings);
    ExpectFull(task);
}

TEST_F(CallsTest, CodesOfTheServiceArriveAndLeaveTheRecordAlone) {
    service.tasks = {FullTaskInfo()};
    service.appInfo = FullAppInfo();
    Start();
    Client client(folder.File("socket"));
    const auto manager = client.Get<ITfsTaskManager>();
    const auto info = client.Get<IAppInfoProvider>();
    ASSERT_EQ(client.result, ulk::sOk);
    for (const result_t code : {ulk::eNotFound, ulk::eAccessDenied, ulk::eInvalidState, ulk::eNotSupported}) {
        service.code = code;
        EXPECT_EQ(manager->StartTask(u"2"), code);
        std::vector<core::TaskInfo> tasks(1);
        EXPECT_EQ(manager->GetTaskList(tasks), code);
        EXPECT_EQ(tasks.size(), 1u);
        AppInfo record;
        EXPECT_EQ(info->GetAppInfo(record), code);
        EXPECT_EQ(record.avRecordsCount, 0u);
    }
    // A positive code is a success of its own kind.
    service.code = ulk::sFalse;
    PolicyState state;
    EXPECT_EQ(client.Get<IPolicyManager>()->GetPolicy(state), ulk::sFalse);
}

TEST_F(CallsTest, LookupsOfUnknownInterfacesFail) {
    Start();
    Client client(folder.File("socket"));
    ASSERT_EQ(client.result, ulk::sOk);
    void* found = &client;
    EXPECT_EQ(client.locator->GetInterface(0x12345678, 0, &found), ulk::eNoInterface);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(client.locator->GetInterface(ITfsTaskManager::Iid, 0, nullptr), ulk::eInvalidArgument);
    EXPECT_EQ(client.locator->GetInterface(ITfsTaskManager::Iid, 1, &found), ulk::eInvalidArgument);
}

TEST_F(CallsTest, ScanAreasThatAreNoPathsAreRefused) {
    service.tasks = {FullTaskInfo()};
    Start();
    Client client(folder.File("socket"));
    const auto manager = client.Get<ITfsTaskManager>();
    ASSERT_EQ(client.result, ulk::sOk);
    core::TaskInfo task;
    const std::string areas[] = {"", "relative", std::string("/nul\0inside", 11), "/" + std::string(5000, 'a')};
    for (const std::string& area : areas)
        EXPECT_EQ(manager->CreateScanTask({{"/fine", area}}, task), ulk::eInvalidArgument) << area.substr(0, 20);
    EXPECT_EQ(manager->CreateScanTask({}, task), ulk::eInvalidArgument);
    EXPECT_EQ(service.Calls(), 0);
}

TEST_F(CallsTest, MessagesBeyondTheLimitsFailAloneAndTheConnectionLives) {
    service.tasks.assign(3, FullTaskInfo());
    for (core::TaskInfo& task : service.tasks)
        task.displayName = string16_t(3'000'000, u'x'); // 18 MB together
    Start();
    Client client(folder.File("socket"));
    const auto manager = client.Get<ITfsTaskManager>();
    ASSERT_EQ(client.result, ulk::sOk);
    std::vector<core::TaskInfo> tasks;
    EXPECT_EQ(manager->GetTaskList(tasks), ulk::eInvalidSize);
    EXPECT_TRUE(tasks.empty());
    EXPECT_EQ(manager->StartTask(string16_t(10'000'000, u'x')), ulk::eInvalidSize);
    EXPECT_EQ(manager->StartTask(u"2"), ulk::sOk);
    EXPECT_TRUE(client.IsAlive());
    core::TaskInfo task;
    EXPECT_EQ(manager->GetTaskInfo(u"2", task), ulk::sOk); // 6 MB pass
    EXPECT_EQ(task.displayName.size(), 3'000'000u);
}

TEST_F(CallsTest, ManyThreadsShareOneConnection) {
    service.tasks = {FullTaskInfo()};
    Start();
    Client client(folder.File("socket"));
    const auto manager = client.Get<ITfsTaskManager>();
    ASSERT_EQ(client.result, ulk::sOk);
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 200; ++n) {
                core::TaskInfo task;
                if (manager->GetTaskInfo(u"2", task) == ulk::sOk && task.taskId == FullTaskInfo().taskId)
                    ++good;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(good.load(), 1600);
}

// The uid is the connecting thread's own, which the raw call changes for that thread alone.
TEST_F(CallsTest, AnotherUserIsSeenAsHimself) {
    constexpr uid_t Nobody = 65534;
    const bool isRoot = ::geteuid() == 0;
    const uid_t expected = isRoot ? Nobody : ::geteuid();
    Start();
    std::thread([&] {
        if (isRoot) {
            ASSERT_EQ(::syscall(SYS_setresuid, -1, Nobody, -1), 0);
        }
        Client client(folder.File("socket"));
        ASSERT_EQ(client.result, ulk::sOk);
        // Whoever has the connection later has the rights of him who made it.
        if (isRoot) {
            ASSERT_EQ(::syscall(SYS_setresuid, -1, 0, -1), 0);
        }
        EXPECT_EQ(client.Get<ITfsTaskManager>()->StartTask(u"2"), ulk::sOk);
    }).join();
    EXPECT_EQ(service.Last().caller.uid, expected);
    EXPECT_FALSE(service.Last().caller.isAdministrator);
}

} // namespace tfs::test
