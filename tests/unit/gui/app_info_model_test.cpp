// SPDX-License-Identifier: GPL-2.0-or-later
#include "gui_fixture.h"

#include <foundation/datetime.h>
#include <gui/app_info/app_info_model.h>

#include <QtTest/QSignalSpy>
#include <ctime>

namespace tfs::gui {
namespace {

using test::MakeStatistic;
using test::MakeTask;
using test::WaitUntil;
using types::AdditionalName;
using types::EventName;
using types::TaskState;

class AppInfoModelTest : public test::GuiTest {
protected:
    AppInfoModelTest() {
        m_app.tasks->SetTask(MakeTask(1, task_name::FileMonitoring, task_type::OAS, TaskState::Started));
        m_app.tasks->SetTask(MakeTask(2, task_name::FullScan, task_type::ODS));
        m_app.tasks->SetTask(MakeTask(6, task_name::Update, task_type::Update));
        AppInfo& info = m_app.appInfo->appInfo;
        info.avBasesLoaded = true;
        info.avBasesDate = ulk::datetime::NowTicks();
        info.lastMyCompScanTime = std::time(nullptr) - 5 * 60;
    }

    static Event TaskEvent(EventName::Type type, std::uint64_t id, TaskState::Type state) {
        Event event;
        event.type = type;
        event.Add(AdditionalName::TaskId, id);
        event.Add(AdditionalName::TaskState, static_cast<std::int32_t>(state));
        return event;
    }
    static core::TaskInfo CustomScan() {
        core::TaskInfo task = MakeTask(100, u"Temporary_100", task_type::ODS);
        task.isTemporary = true;
        return task;
    }
};

TEST_F(AppInfoModelTest, aHealthyDeviceIsProtectedWell) {
    m_app.tasks->SetStatistic(MakeStatistic(MakeTask(2, task_name::FullScan, task_type::ODS), 10, 0));
    const AppInfoModel model;
    EXPECT_EQ(model.dangerLevel(), AppInfoModel::OK);
    EXPECT_EQ(model.issuesInfo().toStdString(), "Your device is protected well");
    EXPECT_EQ(model.infoLastScanTime().toStdString(), "Last scan: 5 minutes ago");
    EXPECT_EQ(model.infoLastScanResult().toStdString(), "Nothing detected");
    EXPECT_EQ(model.infoLastUpdateTime().toStdString(), "Last update: less than a minute ago");
    EXPECT_FALSE(model.infoDatabasesIsError());
    EXPECT_TRUE(model.scanInfoAvailable());
    EXPECT_TRUE(model.reportsAllowed());
    EXPECT_TRUE(model.infoIsReady());
    EXPECT_EQ(m_app.subscriber->ReceiverName(), "AppInfoModel");
    const EventFilter filter = m_app.subscriber->Filter();
    EXPECT_EQ(filter.eventTypes.size(), 42u);
    EXPECT_TRUE(std::is_sorted(filter.eventTypes.begin(), filter.eventTypes.end()));
    EXPECT_EQ(filter.excludedEventTypes, (ulk::types::vector_t<std::uint32_t>{42, 47, 14, 66}));
}

TEST_F(AppInfoModelTest, issuesAddUp) {
    AppInfo& info = m_app.appInfo->appInfo;
    info.lastMyCompScanTime = 0;
    info.applicationUpdateState = ApplicationUpdateState::UpdateDownloaded;
    {
        const AppInfoModel model;
        EXPECT_EQ(model.dangerLevel(), AppInfoModel::OK);
        EXPECT_EQ(model.issuesInfo().toStdString(), "Your device is protected well\n2 recommendations");
        EXPECT_EQ(model.infoLastScanTime().toStdString(), "Never run");
    }
    info.avBasesDate = ulk::datetime::NowTicks() - 4 * ulk::datetime::kTicksPerDay;
    {
        const AppInfoModel model;
        EXPECT_EQ(model.issuesInfo().toStdString(), "Protection of your device is reduced\n1 warning");
        EXPECT_EQ(model.infoDatabasesState().toStdString(), "Databases are out of date.");
    }
    info.avBasesLoaded = false;
    info.lastUpdateTime = 0;
    m_app.tasks->RemoveTask(1); // a service without real-time protection
    const AppInfoModel model;
    EXPECT_EQ(model.dangerLevel(), AppInfoModel::Critical);
    EXPECT_EQ(model.issuesInfo().toStdString(), "Your device is in danger\n2 threats");
    EXPECT_EQ(model.infoLastUpdateTime().toStdString(), "Never run");
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot get #1 task state"), 1u);
}

TEST_F(AppInfoModelTest, aPolicyCoversIssuesButNotTheTruthAboutDatabases) {
    m_app.policyManager->result = ulk::sOk;
    m_app.tasks->SetTask(MakeTask(1, task_name::FileMonitoring, task_type::OAS, TaskState::Stopped));
    m_app.appInfo->appInfo.avBasesDate = ulk::datetime::NowTicks() - 9 * ulk::datetime::kTicksPerDay;
    const AppInfoModel model;
    EXPECT_TRUE(model.isUnderPolicy());
    EXPECT_EQ(model.dangerLevel(), AppInfoModel::OK);
    EXPECT_EQ(model.issuesInfo().toStdString(), "Your device is protected well");
    EXPECT_EQ(model.infoDatabasesState().toStdString(), "Databases are totally out of date.");
    EXPECT_TRUE(model.infoDatabasesIsError());
}

TEST_F(AppInfoModelTest, aFailedRefreshShowsDangerAndKeepsTheTexts) {
    AppInfoModel model;
    ASSERT_EQ(model.dangerLevel(), AppInfoModel::OK);
    const QString scan = model.infoLastScanTime();
    QSignalSpy danger(&model, &AppInfoModel::dangerLevelChanged);
    QSignalSpy texts(&model, &AppInfoModel::infoLastScanTimeChanged);
    m_app.appInfo->failure = ulk::eNotReady;
    Event event;
    event.type = EventName::ThreatDetected;
    PushAndWait(event);
    model.UpdateAppInfo();
    EXPECT_EQ(model.dangerLevel(), AppInfoModel::Critical);
    EXPECT_EQ(danger.count(), 1);
    EXPECT_EQ(texts.count(), 0);
    EXPECT_EQ(model.infoLastScanTime(), scan);
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot get application info"), 1u);
}

TEST_F(AppInfoModelTest, withoutAServiceItIsReadyAndInDanger) {
    m_app.connected = false;
    const AppInfoModel model;
    EXPECT_EQ(model.dangerLevel(), AppInfoModel::Critical);
    EXPECT_TRUE(model.infoIsReady());
    EXPECT_EQ(model.buttonScan().toStdString(), "Scan");
    EXPECT_EQ(model.infoLastScanTime().toStdString(), "Last scan: unknown");
    m_app.connected = true;
}

TEST_F(AppInfoModelTest, refreshesOnlyWhereSomethingChanged) {
    AppInfoModel model;
    model.UpdateAppInfo(); // the first tick, which refreshes
    m_app.appInfo->appInfo.lastMyCompScanTime -= 3600;
    QSignalSpy changed(&model, &AppInfoModel::infoLastScanTimeChanged);
    model.UpdateAppInfo();
    EXPECT_EQ(changed.count(), 0);
    m_app.policy->group = true; // a policy that changed is a change
    model.UpdateAppInfo();
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(model.infoLastScanTime().toStdString(), "Last scan: 1 hour ago");
    m_app.appInfo->appInfo.lastMyCompScanTime -= 7200;
    PushAndWait(TaskEvent(EventName::TaskStateChanged, 2, TaskState::Stopped));
    model.UpdateAppInfo();
    EXPECT_EQ(changed.count(), 2);
}

TEST_F(AppInfoModelTest, aRunningScanTellsSinceWhen) {
    core::TaskInfo scan = MakeTask(2, task_name::FullScan, task_type::ODS, TaskState::Started);
    scan.startTime = std::time(nullptr) - 2 * 60;
    m_app.tasks->SetTask(scan);
    m_app.tasks->SetStatistic(MakeStatistic(scan, 10, 4));
    const AppInfoModel model;
    EXPECT_EQ(model.infoLastScanTime().toStdString(), "Running, started 2 minutes ago");
    EXPECT_EQ(model.infoLastScanResult().toStdString(), "Threat detected");
    EXPECT_TRUE(model.infoScanResultIsError());
}

TEST_F(AppInfoModelTest, customScanAloneDoesNotMakeScansAvailable) {
    m_app.tasks->RemoveTask(2);
    m_app.tasks->RemoveTask(6);
    m_app.tasks->SetTask(MakeTask(3, task_name::CustomScan, task_type::ODS));
    m_app.tasks->SetTask(CustomScan());
    const AppInfoModel model;
    EXPECT_FALSE(model.scanInfoAvailable());
    EXPECT_FALSE(model.updateInfoAvailable());
}

TEST_F(AppInfoModelTest, popupsOfACustomScan) {
    AppInfoModel model;
    model.UpdateAppInfo();
    QSignalSpy started(&model, &AppInfoModel::customScanStarted);
    QSignalSpy stopped(&model, &AppInfoModel::customScanStopped);
    QSignalSpy refreshed(&model, &AppInfoModel::issuesInfoChanged);
    m_app.tasks->SetTask(CustomScan());
    for (const auto state : {TaskState::Starting, TaskState::Started, TaskState::Stopping, TaskState::Stopped})
        PushAndWait(TaskEvent(EventName::TaskStateChanged, 100, state));
    ASSERT_TRUE(WaitUntil([&] { return stopped.count() == 1; }));
    EXPECT_EQ(started.count(), 1);
    EXPECT_EQ(started.first().at(0).toUInt(), 100u);
    EXPECT_EQ(stopped.first().at(1).toString().toStdString(), "Custom scan completed. No active threats found.");
    // Gone by now, with statistics that outlived it.
    m_app.tasks->RemoveTask(100);
    m_app.tasks->SetStatistic(MakeStatistic(CustomScan(), 9, 2));
    PushAndWait(TaskEvent(EventName::TaskStateChanged, 100, TaskState::Stopped));
    ASSERT_TRUE(WaitUntil([&] { return stopped.count() == 2; }));
    EXPECT_EQ(stopped.last().at(1).toString().toStdString(),
              "Custom scan completed. <font color='#d84342'>2 threats found.</font>");
    EXPECT_EQ(refreshed.count(), 0);
}

TEST_F(AppInfoModelTest, onlyMonitoringTasksRaiseAFailurePopup) {
    AppInfoModel model;
    QSignalSpy failed(&model, &AppInfoModel::taskStartFailed);
    const auto notStarted = [](const char16_t* name, std::int32_t reason) {
        Event event;
        event.type = EventName::TaskNotStarted;
        event.Add(AdditionalName::TaskName, test::String(name));
        event.Add(AdditionalName::TaskNotStartedReason, reason);
        return event;
    };
    PushAndWait(notStarted(task_name::FullScan, 0));
    PushAndWait(notStarted(u"No_Such_Task", 0));
    PushAndWait(notStarted(task_name::FileMonitoring, 3));
    ASSERT_TRUE(WaitUntil([&] { return failed.count() == 1; }));
    EXPECT_EQ(failed.first().at(0).toUInt(), 4u);
    EXPECT_EQ(failed.first().at(1).toString().toStdString(),
              "Task File Threat Protection was not started due to network interceptor driver error");
}

TEST_F(AppInfoModelTest, anEventWithoutItsFieldsDoesNotStopLaterOnes) {
    AppInfoModel model;
    model.UpdateAppInfo();
    Event bare;
    for (const auto type : {EventName::TaskStateChanged, EventName::TaskNotStarted, EventName::UpdateError}) {
        bare.type = type;
        PushAndWait(bare);
    }
    EXPECT_EQ(m_app.tracer->Count(300, "There is no taskId field in task event!"), 2u);
    EXPECT_EQ(m_app.tracer->Count(300, "map::at"), 1u);
    QSignalSpy changed(&model, &AppInfoModel::infoDatabasesIsErrorChanged);
    m_app.appInfo->appInfo.avBasesLoaded = false;
    model.UpdateAppInfo();
    EXPECT_EQ(changed.count(), 0) << "nothing has been noted";
    bare.type = EventName::AVBasesApplied;
    PushAndWait(bare);
    model.UpdateAppInfo();
    EXPECT_EQ(changed.count(), 1);
}

TEST_F(AppInfoModelTest, storageCountsFromEightyOnePercent) {
    for (const auto& [percentage, result, level] :
         {std::tuple{80u, ulk::sOk, Danger::OK}, std::tuple{81u, ulk::sOk, Danger::Warning},
          std::tuple{100u, ulk::eNotReady, Danger::OK}}) {
        AppInfoReader reader([&](ulk::IServiceLocator*, std::uint32_t& out) {
            out = percentage;
            return result;
        });
        AppInfoValues values = AppInfoValues::Initial();
        CurrentDangerInfo danger;
        reader.Read(m_app.remote.Get(), values, danger);
        EXPECT_EQ(danger.Level(), level) << percentage;
    }
}

} // namespace
} // namespace tfs::gui
