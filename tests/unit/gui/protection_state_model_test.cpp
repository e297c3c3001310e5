// SPDX-License-Identifier: GPL-2.0-or-later
#include "protection_state_fixture.h"

#include <gui/protection_info/protection_state_info_provider.h>

namespace tfs::gui {
namespace {

using ProtectionStateModelTest = test::ProtectionStateTest;
using test::MonitoringRow;
using test::Rows;
using test::ScanRow;
using test::UpdateRow;

std::string Unavailable(std::string row) {
    row.back() = '0';
    return row;
}

TEST_F(ProtectionStateModelTest, aHealthyDeviceHasNoIssues) {
    const ProtectionStateModel model;
    EXPECT_EQ(RowsOf(model), Rows{});
    EXPECT_EQ(model.pageHeader().toStdString(), "Protection center");
    EXPECT_EQ(model.emptyIssuesTitle().toStdString(), "There are no issues");
    EXPECT_EQ(model.startInProgress().toStdString(), "starting...");
    EXPECT_EQ(m_app.subscriber->ReceiverName(), "ProtectionStateModel");
    const EventFilter filter = m_app.subscriber->Filter();
    EXPECT_EQ(filter.eventTypes.size(), 21u);
    EXPECT_EQ(filter.excludedEventTypes, (ulk::types::vector_t<std::uint32_t>{42, 47, 14}));
    EXPECT_EQ(model.roleNames().value(262), QByteArray("available"));
}

TEST_F(ProtectionStateModelTest, databasesByAgeAndUpdate) {
    const std::string outOfDate = "Databases are out of date";
    const std::string totally = "Databases are totally out of date";
    for (const std::int64_t age : {-9, 0, 2}) {
        SetAge(age);
        EXPECT_EQ(Shown(), Rows{}) << age;
    }
    for (const std::int64_t age : {3, 7}) {
        SetAge(age);
        EXPECT_EQ(Shown(), Rows{UpdateRow}) << age;
    }
    SetAge(8);
    EXPECT_EQ(Shown(), Rows{"1 " + totally + "|Start Update task|Update|1"});
    m_info.avBasesLoaded = false;
    EXPECT_EQ(Shown(),
              Rows{"1 Databases are not loaded|Databases are corrupted or not loaded. Start Update task.|Update|1"});
    m_info.avBasesLoaded = true;
    SetAge(7);
    for (const auto& [state, isRunning] :
         {std::pair{TaskState::Starting, true}, std::pair{TaskState::Started, true},
          std::pair{TaskState::Stopping, false}, std::pair{TaskState::Suspended, false}}) {
        SetTask(FixedTaskId::Update, state, std::time(nullptr) - 2 * 60);
        EXPECT_EQ(Shown(), Rows{isRunning ? "2 " + outOfDate + "|Running, started 2 minutes ago|Update|1" : UpdateRow});
    }
}

TEST_F(ProtectionStateModelTest, applicationUpdateStates) {
    const std::string restart = "7 Restart is required|Restart the application. For operating systems that do not "
                                "support fanotify technology, restart the computer.||1";
    const Rows expected[] = {
        {},
        {},
        {"7 Application update is ready to install.|To install the application update, execute tesl-control "
         "--update-application, and restart your device.||1"},
        {restart},
        {restart},
        {"7 Application restart is required|Modules have been updated. For changes to take effect, restart the "
         "application.||1"},
        {},
    };
    ProtectionStateModel model;
    for (std::uint32_t state = 0; state < std::size(expected); ++state) {
        m_info.applicationUpdateState = static_cast<ApplicationUpdateState>(state);
        Refresh(model);
        EXPECT_EQ(RowsOf(model), expected[state]) << state;
    }
}

TEST_F(ProtectionStateModelTest, whatMayBeDoneAboutIt) {
    SetAge(4);
    m_info.lastMyCompScanTime = 0;
    SetTask(FixedTaskId::FileMonitoring, TaskState::Stopped);
    const Rows available{UpdateRow, MonitoringRow, ScanRow};
    EXPECT_EQ(Shown(), available);

    m_app.policy->local = false;
    EXPECT_EQ(Shown(), available) << "nobody forbids it";
    m_app.policyManager->result = ulk::sOk;
    EXPECT_EQ(Shown(), (Rows{Unavailable(UpdateRow), MonitoringRow, Unavailable(ScanRow)}))
        << "monitoring has a permission of its own";
    m_app.policy->local = true;
    EXPECT_EQ(Shown(), available);
    m_app.policy->local = false;
    m_app.policy->failure = ulk::eTimeout;
    EXPECT_EQ(Shown(), (Rows{UpdateRow, Unavailable(MonitoringRow), ScanRow})) << "flags that can't be read are true";
    m_app.policy->failure = ulk::sOk;
    m_app.policy->local = true;

    m_app.policy->startMonitoring = false;
    EXPECT_EQ(Shown(), (Rows{UpdateRow, Unavailable(MonitoringRow), ScanRow}));
    m_app.policy->startMonitoring = true;
    m_info.canRunProtection = false;
    EXPECT_EQ(Shown(), (Rows{UpdateRow, Unavailable(MonitoringRow), Unavailable(ScanRow)}));
    m_info.canRunProtection = true;
    m_info.avBasesLoaded = false;
    const Rows notLoaded = Shown();
    ASSERT_EQ(notLoaded.size(), 3u);
    EXPECT_EQ(notLoaded[0].back(), '1');
    EXPECT_EQ(notLoaded[1], Unavailable(MonitoringRow));
    EXPECT_EQ(notLoaded[2], Unavailable(ScanRow));
}

TEST_F(ProtectionStateModelTest, commandsTravelByName) {
    {
        ProtectionStateModel model;
        model.startTask(QStringLiteral("File_Monitoring"));
        model.stopTask(QStringLiteral("Update"));
        EXPECT_EQ(m_app.tasks->Commands(), (std::vector<std::string>{"start File_Monitoring", "stop Update"}));
        m_app.tasks->failure = ulk::eInvalidState;
        model.startTask(QStringLiteral("Update"));
        model.stopTask(QStringLiteral("Update"));
        m_app.tasks->failure = ulk::sOk;
        EXPECT_EQ(m_app.tracer->Count(300, "cannot start task: "), 1u);
        EXPECT_EQ(m_app.tracer->Count(300, "cannot stop task: "), 1u);
        EXPECT_TRUE(m_app.subscriber->IsSubscribed());
    }
    EXPECT_FALSE(m_app.subscriber->IsSubscribed());
    EXPECT_EQ(m_app.tracer->Count(800, "~ProtectionStateModel"), 1u);
}

TEST_F(ProtectionStateModelTest, theGathererTellsWhatFailed) {
    ProtectionStateInfoProvider provider;
    ProtectionStateInfo info;
    ASSERT_EQ(provider.GetProtectionStateInfo(m_app.remote.Get(), info), ulk::sOk);
    EXPECT_EQ(info.updateTask.core.taskId, 6u);
    EXPECT_EQ(info.fileMonitoringTask.core.taskId, 1u);
    EXPECT_EQ(m_app.tracer->Count(800, "Task #1 state = 1"), 1u);
    m_app.tasks->RemoveTask(6);
    EXPECT_EQ(provider.GetProtectionStateInfo(m_app.remote.Get(), info), ulk::eNotFound);
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot get #6 task state: Error while taking task info"), 1u);
    m_app.remote->Remove(IAppInfoProvider::Iid);
    EXPECT_EQ(provider.GetProtectionStateInfo(m_app.remote.Get(), info), ulk::eNoInterface);
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot get AppInfoProvider"), 1u);
}

TEST(ProtectionIssuesTest, licensingHasARowOfItsOwn) {
    ProtectionFacts facts;
    facts.license = {true, u"License has expired", u"Renew it."};
    const auto issueOf = [&] {
        for (const IssueVerdict& verdict : JudgeIssues(facts)) {
            if (verdict.actionsType == ProtectionStateModel::ActionLicenseLink)
                return verdict.issue;
        }
        return std::optional<IssueInfo>(IssueInfo());
    };
    EXPECT_EQ(issueOf(), (IssueInfo{QStringLiteral("License has expired"), QStringLiteral("Renew it."), 5, {}, true}));
    facts.license.isIssue = false;
    EXPECT_EQ(issueOf(), std::nullopt);
}

} // namespace
} // namespace tfs::gui
