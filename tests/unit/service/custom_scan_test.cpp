// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/unit/service/task_registry_fixture.h>

namespace tfs::service::tasks {
namespace {

TEST_F(TaskRegistryTest, ACustomScanIsItsOwnersAndGoesWhenItHasRun) {
    const std::string area = m_folder.Write("file", "x");
    const rpc::Caller owner{::geteuid(), false, 0};
    const rpc::Caller stranger{::geteuid() + 1, false, 0};
    Make();
    const std::u16string name = Create(owner, {area});
    EXPECT_EQ(name, u"Scan_File_100");
    core::TaskInfo info;
    ASSERT_EQ(m_registry->GetTaskInfo(name, info), ulk::sOk);
    EXPECT_TRUE(info.isTemporary);
    EXPECT_EQ(info.owner->uid, owner.uid);
    ASSERT_NE(info.settings.Get<ScanSettings>(), nullptr);
    EXPECT_EQ(info.settings.Get<ScanSettings>()->areas, std::vector<std::string>{area});
    for (const TaskCommand command : {TaskCommand::Start, TaskCommand::Stop, TaskCommand::Pause, TaskCommand::Resume})
        EXPECT_EQ(Do(command, name, stranger), ulk::eAccessDenied);
    EXPECT_EQ(m_registry->DeleteTask(stranger, name), ulk::eAccessDenied);
    bool allowed = true;
    EXPECT_EQ(m_registry->MayCommand(stranger, name, TaskCommand::Stop, allowed), ulk::sOk);
    EXPECT_FALSE(allowed);

    ASSERT_EQ(Do(TaskCommand::Start, name, owner), ulk::sOk);
    ASSERT_TRUE(Reaches(name, TaskState::Started));
    EXPECT_EQ(m_registry->DeleteTask(owner, name), ulk::eInvalidState);
    EXPECT_EQ(Do(TaskCommand::Stop, name, stranger), ulk::eAccessDenied);
    m_engine.Run(1)->Observer().OnThreat({area, "", "Eicar", 1, 0});
    m_engine.Run(1)->Finish();
    ASSERT_TRUE(Eventually([&] { return m_registry->GetTaskInfo(name, info) == ulk::eNotFound; }));
    OxsStatistic statistic;
    ASSERT_EQ(m_registry->GetStatistic(name, statistic), ulk::sOk);
    EXPECT_NE(statistic.finishTime, 0);
    EXPECT_EQ(statistic.scan.threatsFound, 1u);
    EXPECT_TRUE(Eventually([&] { return m_recorder.Has(EventName::TaskDeleted); }));
    EXPECT_EQ(m_recorder.Events().back().type, EventName::TaskDeleted);
    EXPECT_EQ(m_recorder.Events().front().type, EventName::TaskCreated);
    EXPECT_EQ(m_registry->LastFullScan(), 0);

    EXPECT_EQ(m_registry->DeleteStatistic(stranger, statistic), ulk::eAccessDenied);
    EXPECT_EQ(m_registry->DeleteStatistic(owner, statistic), ulk::sOk);
    EXPECT_EQ(m_registry->DeleteStatistic(owner, statistic), ulk::eNotFound);
    EXPECT_NE(Create(owner, {area}), name); // ids aren't used again
}

TEST_F(TaskRegistryTest, AreasThatCanNotBeOpenedAreToldAsNotProcessed) {
    const std::string area = m_folder.Write("file", "x");
    const rpc::Caller owner{::geteuid(), false, 0};
    Make();
    const std::u16string mixed = Create(owner, {m_folder.File("missing"), area});
    ASSERT_EQ(Do(TaskCommand::Start, mixed, owner), ulk::sOk);
    ScriptedRun* run = m_engine.Run(1);
    EXPECT_EQ(run->Options().areas.size(), 1u);
    EXPECT_EQ(run->Options().rightsOf, owner.uid) << "below its areas too a scan sees what its owner may see";
    run->Finish();
    const std::u16string hopeless = Create(owner, {m_folder.File("missing")});
    ASSERT_EQ(Do(TaskCommand::Start, hopeless, owner), ulk::sOk);
    core::TaskInfo info;
    ASSERT_TRUE(Eventually([&] { return m_registry->GetTaskList().size() == 1; }));
    EXPECT_EQ(m_engine.Made(), 1);
    OxsStatistic statistic;
    for (const std::u16string& name : {mixed, hopeless}) {
        ASSERT_EQ(m_registry->GetStatistic(name, statistic), ulk::sOk);
        EXPECT_EQ(statistic.scan.scanErrors, 1u);
    }
    const Event event = m_recorder.Of(EventName::ObjectNotProcessed).front();
    EXPECT_EQ(ValueOf<std::string>(event, AdditionalName::FileName), m_folder.File("missing"));
    EXPECT_EQ(ValueOf<std::string>(event, AdditionalName::ObjectProcessError), "No such file or directory");
}

TEST_F(TaskRegistryTest, AUsersFilesAreNotScannedForAnotherUser) {
    const rpc::Caller stranger{::geteuid() + 1, false, 0};
    const std::string area = m_folder.Write("secret", "x"); // in a folder of mode 0700
    Make();
    const std::u16string name = Create(stranger, {area});
    ASSERT_EQ(Do(TaskCommand::Start, name, stranger), ulk::sOk);
    ASSERT_TRUE(Eventually([&] { return m_registry->GetTaskList().size() == 1; }));
    EXPECT_EQ(m_engine.Made(), 0);
    const std::u16string byAdministrator = Create({stranger.uid, true, 0}, {area});
    ASSERT_EQ(Do(TaskCommand::Start, byAdministrator, stranger), ulk::sOk);
    EXPECT_FALSE(m_engine.Run(1)->Options().rightsOf);
    m_engine.Run(1)->Finish();
}

TEST_F(TaskRegistryTest, BadAreasAreRefused) {
    Make();
    const std::vector<std::vector<std::string>> lists{
        {},
        {""},
        {"relative/path"},
        {"/good", "bad"},
        {std::string("/a\0b", 4)},
        {"/" + std::string(4095, 'a')},
        std::vector<std::string>(1025, "/a"),
        std::vector<std::string>(70, "/" + std::string(4000, 'a')),
    };
    core::TaskInfo info;
    for (const auto& areas : lists)
        EXPECT_EQ(m_registry->CreateScanTask(User, ScanSettings{areas}, info), ulk::eInvalidArgument);
    EXPECT_EQ(m_registry->GetTaskList().size(), 1u);
}

TEST_F(TaskRegistryTest, TheNumberOfCustomScansIsBounded) {
    TaskRegistry::Options options;
    options.rules.maxTemporaryOfUser = 3;
    options.maxTemporary = 5;
    Make(options);
    core::TaskInfo info;
    for (int i = 0; i < 3; ++i)
        Create(User, {"/"});
    EXPECT_EQ(m_registry->CreateScanTask(User, ScanSettings{{"/"}}, info), ulk::eInsufficientResources);
    Create(OtherUser, {"/"});
    const std::u16string fifth = Create(OtherUser, {"/"});
    EXPECT_EQ(m_registry->CreateScanTask(Administrator, ScanSettings{{"/"}}, info), ulk::eInsufficientResources);
    EXPECT_EQ(m_registry->DeleteTask(Administrator, fifth), ulk::sOk);
    Create(Administrator, {"/"});

    options.unusedLifetime = std::chrono::seconds(0); // tasks of a client that died give way
    Make(options);
    for (int i = 0; i < 10; ++i)
        Create(User, {"/"});
    EXPECT_EQ(m_registry->GetTaskList().size(), 4u);
}

TEST_F(TaskRegistryTest, UsersWhoMayNotManageTasksMayOnlyLook) {
    TaskRegistry::Options options;
    options.rules.allowUserManageLocalTasks = false;
    Make(options);
    core::TaskInfo info;
    EXPECT_EQ(m_registry->CreateScanTask(User, ScanSettings{{"/"}}, info), ulk::eAccessDenied);
    EXPECT_EQ(Do(TaskCommand::Start), ulk::eAccessDenied);
    bool allowed = true;
    EXPECT_EQ(m_registry->MayCommand(User, u"Scan_My_Computer", TaskCommand::Stop, allowed), ulk::sOk);
    EXPECT_FALSE(allowed);
    EXPECT_EQ(m_registry->MayCommand(Administrator, u"Scan_My_Computer", TaskCommand::Stop, allowed), ulk::sOk);
    EXPECT_TRUE(allowed);
    EXPECT_EQ(m_registry->MayCommand(User, u"Update", TaskCommand::Stop, allowed), ulk::eNotFound);
    EXPECT_EQ(Do(TaskCommand::Start, u"2", Administrator), ulk::sOk);
    EXPECT_EQ(m_registry->DeleteTask(Administrator, u"2"), ulk::eNotSupported);
}

} // namespace
} // namespace tfs::service::tasks
