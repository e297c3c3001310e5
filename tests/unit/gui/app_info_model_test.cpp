// SPDX-License-Identifier: GPL-2.0-or-later
#include "app_info_fixture.h"
#include "fake_backup.h"

#include <QtTest/QSignalSpy>

namespace tfs::gui {
namespace {

using test::AppInfoModelTest;
using test::MakeStatistic;
using test::MakeTask;
using test::WaitUntil;

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

TEST_F(AppInfoModelTest, databasesAgeByWholeDays) {
    using ulk::datetime::kTicksPerDay;
    using ulk::datetime::kTicksPerSecond;
    const struct {
        std::int64_t age;
        const char* state;
        AppInfoModel::DangerLevel level;
    } cases[] = {
        {3 * kTicksPerDay - 3600 * kTicksPerSecond, "Databases are up to date.", AppInfoModel::OK},
        {3 * kTicksPerDay, "Databases are out of date.", AppInfoModel::Warning},
        {8 * kTicksPerDay - 3600 * kTicksPerSecond, "Databases are out of date.", AppInfoModel::Warning},
        {8 * kTicksPerDay, "Databases are totally out of date.", AppInfoModel::Critical},
        {-kTicksPerDay, "Databases are up to date.", AppInfoModel::OK}, // the clock was put back
    };
    for (const auto& [age, state, level] : cases) {
        m_app.appInfo->appInfo.avBasesDate = ulk::datetime::NowTicks() - age;
        const AppInfoModel model;
        EXPECT_EQ(model.infoDatabasesState().toStdString(), state);
        EXPECT_EQ(model.infoDatabasesIsError(), level != AppInfoModel::OK) << state;
        EXPECT_EQ(model.dangerLevel(), level) << state;
        if (age < 0) {
            EXPECT_EQ(model.infoLastUpdateTime().toStdString(), "Last update: less than a minute ago");
        }
    }
    m_app.appInfo->appInfo.avBasesLoaded = false;
    const AppInfoModel model;
    EXPECT_EQ(model.infoDatabasesState().toStdString(), "Anti-virus databases are not loaded");
    EXPECT_EQ(model.dangerLevel(), AppInfoModel::Critical);
}

TEST_F(AppInfoModelTest, updateStatesTwoToFiveRecommend) {
    for (int state = 0; state <= 6; ++state) {
        m_app.appInfo->appInfo.applicationUpdateState = static_cast<ApplicationUpdateState>(state);
        const AppInfoModel model;
        EXPECT_EQ(model.issuesInfo().toStdString(), state >= 2 && state <= 5
                                                        ? "Your device is protected well\n1 recommendation"
                                                        : "Your device is protected well")
            << state;
    }
}

TEST_F(AppInfoModelTest, whatEarlierStepsFoundStaysWhenALaterOneFails) {
    AppInfoModel model;
    model.UpdateAppInfo();
    QSignalSpy databases(&model, &AppInfoModel::infoDatabasesStateChanged);
    QSignalSpy issues(&model, &AppInfoModel::issuesInfoChanged);
    QSignalSpy danger(&model, &AppInfoModel::dangerLevelChanged);
    m_app.appInfo->appInfo.avBasesLoaded = false;
    m_app.settings->failure = ulk::eTimeout; // asked last
    PushAndRefresh(model, EventName::AVBasesCorrupted);
    EXPECT_EQ(databases.count(), 1);
    EXPECT_EQ(issues.count(), 1);
    EXPECT_EQ(model.dangerLevel(), AppInfoModel::Critical);
    PushAndRefresh(model, EventName::AVBasesCorrupted);
    EXPECT_EQ(danger.count(), 1) << "it was critical already";
    m_app.appInfo->appInfo.avBasesLoaded = true;
    m_app.settings->failure = ulk::sOk;
    PushAndRefresh(model, EventName::AVBasesApplied);
    EXPECT_EQ(model.dangerLevel(), AppInfoModel::OK);
}

TEST_F(AppInfoModelTest, statisticsThatCanNotBeHadLeaveTheResult) {
    m_app.tasks->SetStatistic(MakeStatistic(MakeTask(2, task_name::FullScan, task_type::ODS), 10, 3));
    AppInfoModel model;
    ASSERT_TRUE(model.infoScanResultIsError());
    m_app.tasks->RemoveStatistic(task_name::FullScan);
    PushAndRefresh(model, EventName::TaskCreated);
    EXPECT_TRUE(model.infoScanResultIsError());
    EXPECT_EQ(model.infoLastScanResult().toStdString(), "Threat detected");
    EXPECT_GE(m_app.tracer->Count(300, "Error while taking task statistics for Scan_My_Computer"), 1u);
    m_app.appInfo->appInfo.lastMyCompScanTime = 0; // never run: the result stays as it was
    PushAndRefresh(model, EventName::TaskCreated);
    EXPECT_EQ(model.infoLastScanTime().toStdString(), "Never run");
    EXPECT_TRUE(model.infoScanResultIsError());
}

TEST_F(AppInfoModelTest, tasksThatCanNotBeReadAreDangerAndHideNoButton) {
    AppInfoModel model;
    model.UpdateAppInfo();
    const QString said = model.issuesInfo();
    m_app.tasks->failure = ulk::eTimeout;
    PushAndRefresh(model, EventName::TaskDeleted);
    EXPECT_TRUE(model.scanInfoAvailable());
    EXPECT_TRUE(model.updateInfoAvailable());
    EXPECT_EQ(model.dangerLevel(), AppInfoModel::Critical);
    EXPECT_EQ(model.issuesInfo(), said);
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

class AppInfoModelStorageTest : public AppInfoModelTest {
protected:
    static constexpr std::uint64_t MiB = 1024 * 1024;

    AppInfoModelStorageTest() {
        m_app.remote->Put<ITfstBackupManager>(m_backup.Get());
        m_app.remote->Put<ITfsBackupConfigurator>(m_backup.Get());
        m_backup->SetSettings(30, 100);
    }
    ulk::Ptr<test::FakeBackup> m_backup = test::FakeApplication::Make<test::FakeBackup>();
};

TEST_F(AppInfoModelStorageTest, aFullStorageIsAWarningUntilThereIsRoom) {
    m_backup->Add(1, u"/a", 80 * MiB);
    m_backup->Add(2, u"/b", MiB);
    AppInfoModel model;
    ASSERT_TRUE(WaitUntil([&] { return model.dangerLevel() == AppInfoModel::Warning; }));
    EXPECT_EQ(model.issuesInfo().toStdString(), "Protection of your device is reduced\n1 warning");
    EXPECT_GE(m_app.tracer->Count(ulk::level::Detail, "Storage limit is reached"), 1u);
    m_backup->Add(2, u"/b", MiB - 1);
    PushAndRefresh(model, EventName::ObjectRemovedFromBackup);
    ASSERT_TRUE(WaitUntil([&] { return model.dangerLevel() == AppInfoModel::OK; }));
}

TEST_F(AppInfoModelStorageTest, aRefreshDoesNotWaitForStorage) {
    m_backup->Add(1, u"/a", 90 * MiB);
    m_backup->Shut(true);
    AppInfoModel model;
    EXPECT_TRUE(model.infoIsReady());
    EXPECT_EQ(model.dangerLevel(), AppInfoModel::OK);
    m_backup->Shut(false);
    EXPECT_TRUE(WaitUntil([&] { return model.dangerLevel() == AppInfoModel::Warning; }));
}

} // namespace
} // namespace tfs::gui
