// SPDX-License-Identifier: GPL-2.0-or-later
#include "app_info_fixture.h"

#include <tfs_common/format_text.h>
#include <tfs_common/translator.h>

#include <QtTest/QSignalSpy>

namespace tfs::gui {
namespace {

using test::AppInfoModelTest;
using test::MakeStatistic;
using test::WaitUntil;

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
    const std::pair<std::int32_t, const char*> reasons[] = {
        {0, "file interceptor configuring error"},
        {1, "file interceptor driver error"},
        {2, "network services error"},
        {4, "internal issue"},
        {-7, "internal issue"},
    };
    for (const auto& [reason, text] : reasons) {
        PushAndWait(notStarted(task_name::FileMonitoring, reason));
        ASSERT_TRUE(WaitUntil([&] { return failed.count() == 2; })) << reason;
        EXPECT_EQ(failed.takeLast().at(1).toString().toStdString(),
                  std::string("Task File Threat Protection was not started due to ") + text);
    }
    Event bare;
    bare.type = EventName::TaskNotStarted;
    bare.Add(AdditionalName::TaskName, test::String(task_name::FileMonitoring));
    PushAndWait(bare);
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot extract TaskNotStartedReason from event"), 1u);
    EXPECT_EQ(failed.count(), 1);
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

TEST(CustomScanPopup, countsInRussian) {
    namespace entry = localization::entry;
    localization::Translator russian(TESL_TEST_LOC_FOLDER);
    russian.Load(nullptr, "ru_RU.UTF-8", true);
    ASSERT_EQ(russian.Language(), "ru");
    const auto text = [&](std::int64_t count) {
        const std::string form =
            russian.GetString(entry::GuiPopupMessageWithThreats, russian.GetPluralFormIndex(count));
        return QString::fromStdString(localization::Format(form, count));
    };
    for (const auto& [count, expected] :
         {std::pair{1, "Обнаружена 1 угроза."}, std::pair{2, "Обнаружены 2 угрозы."},
          std::pair{5, "Обнаружено 5 угроз."}, std::pair{11, "Обнаружено 11 угроз."},
          std::pair{21, "Обнаружена 21 угроза."}, std::pair{104, "Обнаружены 104 угрозы."}})
        EXPECT_EQ(text(count).toStdString(),
                  "Выборочная проверка завершена. <font color='#d84342'>" + std::string(expected) + "</font>");
}

} // namespace
} // namespace tfs::gui
