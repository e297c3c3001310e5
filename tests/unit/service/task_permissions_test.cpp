// SPDX-License-Identifier: GPL-2.0-or-later
// Who may do what with which task.
#include <tests/unit/service/task_registry_fixture.h>

namespace tfs::service::tasks {
namespace {

struct PermissionRow {
    const char* name;
    bool allowLocal;
    bool allowGroup;
    rpc::Caller caller;
    bool mayFullScan;
    bool mayUsersScan;
};

class TaskPermissionsTest : public TaskRegistryTest {
protected:
    TaskPermissionsTest() {
        Make();
        m_scan = Create(User, {m_folder.Write("file", "x")});
    }
    bool May(const rpc::Caller& caller, std::u16string_view task) {
        bool allowed = false;
        EXPECT_EQ(m_registry->MayCommand(caller, task, TaskCommand::Stop, allowed), ulk::sOk);
        return allowed;
    }
    void Allow(bool local, bool group) {
        TaskRegistry::UserRules rules;
        rules.allowUserManageLocalTasks = local;
        rules.allowUserManageGroupTasks = group;
        m_registry->SetUserRules(rules);
    }

    std::u16string m_scan; ///< made by User
};

TEST_F(TaskPermissionsTest, WhatIsToldIsWhatIsEnforced) {
    const PermissionRow rows[] = {
        {"the owner", true, true, User, true, true},
        {"the flag of the console's tasks is not that of local ones", true, false, User, true, true},
        {"another user", true, true, OtherUser, true, false},
        {"an administrator", true, true, Administrator, true, true},
        {"the owner, forbidden", false, true, User, false, false},
        {"another user, forbidden", false, false, OtherUser, false, false},
        {"an administrator is bound by no flag", false, false, Administrator, true, true},
    };
    for (const PermissionRow& row : rows) {
        SCOPED_TRACE(row.name);
        Allow(row.allowLocal, row.allowGroup);
        EXPECT_EQ(May(row.caller, u"Scan_My_Computer"), row.mayFullScan);
        EXPECT_EQ(May(row.caller, m_scan), row.mayUsersScan);
        // Nothing runs, so that the state refuses whom the rules let through.
        for (const TaskCommand command : {TaskCommand::Stop, TaskCommand::Pause, TaskCommand::Resume}) {
            EXPECT_EQ(Do(command, u"2", row.caller), row.mayFullScan ? ulk::eInvalidState : ulk::eAccessDenied);
            EXPECT_EQ(Do(command, m_scan, row.caller), row.mayUsersScan ? ulk::eInvalidState : ulk::eAccessDenied);
        }
        EXPECT_EQ(m_registry->DeleteTask(row.caller, u"2"), row.mayFullScan ? ulk::eNotSupported : ulk::eAccessDenied);
        if (!row.mayFullScan) {
            EXPECT_EQ(Do(TaskCommand::Start, u"2", row.caller), ulk::eAccessDenied);
        }
        if (!row.mayUsersScan) {
            EXPECT_EQ(Do(TaskCommand::Start, m_scan, row.caller), ulk::eAccessDenied);
            EXPECT_EQ(m_registry->DeleteTask(row.caller, m_scan), ulk::eAccessDenied);
        }
    }
    EXPECT_EQ(State(u"2"), TaskState::Stopped);
    EXPECT_EQ(State(m_scan), TaskState::Stopped);
    EXPECT_TRUE(Transitions().empty()) << "a refusal changes nothing";
    EXPECT_EQ(m_registry->DeleteTask(Administrator, m_scan), ulk::sOk);
}

TEST_F(TaskPermissionsTest, RulesThatChangeBindTasksThatRun) {
    ASSERT_EQ(Do(TaskCommand::Start, u"2", User), ulk::sOk);
    ASSERT_TRUE(Reaches(u"2", TaskState::Started));
    Allow(false, true);
    EXPECT_EQ(Do(TaskCommand::Stop, u"2", User), ulk::eAccessDenied);
    EXPECT_EQ(Do(TaskCommand::Pause, u"2", User), ulk::eAccessDenied);
    EXPECT_EQ(State(u"2"), TaskState::Started);
    core::TaskInfo info;
    EXPECT_EQ(m_registry->CreateScanTask(User, ScanSettings{{"/"}}, info), ulk::eAccessDenied);
    Allow(true, false);
    EXPECT_EQ(Do(TaskCommand::Stop, u"2", OtherUser), ulk::sOk) << "a task of all users";
    EXPECT_TRUE(Reaches(u"2", TaskState::Stopped));
}

TEST_F(TaskPermissionsTest, AnAdministratorStopsAnybodysScan) {
    const std::u16string scan = Create({::geteuid(), false, 0}, {m_folder.Path()});
    ASSERT_EQ(Do(TaskCommand::Start, scan, {::geteuid(), false, 0}), ulk::sOk);
    ASSERT_TRUE(Reaches(scan, TaskState::Started));
    EXPECT_EQ(Do(TaskCommand::Stop, scan, {::geteuid() + 1, false, 0}), ulk::eAccessDenied);
    EXPECT_EQ(State(scan), TaskState::Started);
    EXPECT_EQ(Do(TaskCommand::Stop, scan, Administrator), ulk::sOk);
    core::TaskInfo info;
    EXPECT_TRUE(Eventually([&] { return m_registry->GetTaskInfo(scan, info) == ulk::eNotFound; }));
}

TEST_F(TaskPermissionsTest, StatisticsAreTakenAwayByTheirOwnerAndAfterTheRun) {
    ASSERT_EQ(Do(TaskCommand::Start, u"2", User), ulk::sOk);
    ASSERT_TRUE(Reaches(u"2", TaskState::Started));
    OxsStatistic statistic;
    ASSERT_EQ(m_registry->GetStatistic(u"2", statistic), ulk::sOk);
    EXPECT_EQ(m_registry->DeleteStatistic(Administrator, statistic), ulk::eInvalidState) << "it is still counted";
    m_engine.Run(1)->Finish();
    ASSERT_TRUE(Reaches(u"2", TaskState::Stopped));
    EXPECT_EQ(m_registry->DeleteStatistic(User, statistic), ulk::eAccessDenied) << "not a scan of his own";
    OxsStatistic another = statistic;
    another.taskName = u"Update";
    EXPECT_EQ(m_registry->DeleteStatistic(Administrator, another), ulk::eNotFound);
    ASSERT_EQ(m_registry->GetStatistic(u"2", another), ulk::sOk);
    EXPECT_EQ(m_registry->DeleteStatistic(Administrator, statistic), ulk::sOk);
    EXPECT_EQ(m_registry->GetStatistic(u"2", another), ulk::eNotFound);
}

} // namespace
} // namespace tfs::service::tasks
