// SPDX-License-Identifier: GPL-2.0-or-later
#include "protection_state_fixture.h"

#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QSignalSpy>

namespace tfs::gui {
namespace {

using namespace std::chrono_literals;
using ProtectionStateRefreshTest = test::ProtectionStateTest;
using test::MonitoringRow;
using test::Rows;
using test::ScanRow;
using test::UpdateRow;
using test::WaitUntil;

TEST_F(ProtectionStateRefreshTest, aRowThatTurnsIntoAnotherLeavesItsNeighboursAlone) {
    SetAge(3);
    m_info.lastMyCompScanTime = 0;
    ProtectionStateModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    int fewest = model.rowCount();
    QObject::connect(&model, &QAbstractItemModel::rowsRemoved, &model,
                     [&] { fewest = std::min(fewest, model.rowCount()); });
    const QPersistentModelIndex scan(model.index(1));

    SetTask(FixedTaskId::Update, TaskState::Started, std::time(nullptr));
    Refresh(model);
    const std::string running = "2 Databases are out of date|Running, started less than a minute ago|Update|1";
    EXPECT_EQ(RowsOf(model), (Rows{running, ScanRow}));
    EXPECT_EQ(inserted.count(), 1);
    EXPECT_EQ(removed.count(), 1);
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(fewest, 2) << "the page never looks as if all were well";
    EXPECT_EQ(scan.row(), 1);

    Refresh(model);
    EXPECT_EQ(inserted.count() + removed.count() + changed.count(), 2) << "a row that stays the same says nothing";
    SetTask(FixedTaskId::Update, TaskState::Started, std::time(nullptr) - 60);
    Refresh(model);
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed.first().at(0).toModelIndex().row(), 0);
    EXPECT_EQ(changed.first().at(1).toModelIndex().row(), 0);

    SetAge(0);
    SetTask(FixedTaskId::Update, TaskState::Stopped);
    SetTask(FixedTaskId::FileMonitoring, TaskState::Stopped);
    Refresh(model);
    EXPECT_EQ(RowsOf(model), (Rows{MonitoringRow, ScanRow}));
    EXPECT_EQ(scan.row(), 1);
    m_info.lastMyCompScanTime = 5;
    SetTask(FixedTaskId::FileMonitoring, TaskState::Started);
    Refresh(model);
    EXPECT_EQ(RowsOf(model), Rows{});
    EXPECT_EQ(reset.count(), 0);
}

TEST_F(ProtectionStateRefreshTest, aTickRefreshesAfterAChangeAndAfterThirtyOneSeconds) {
    ProtectionStateModel model(Clock());
    model.UpdateProtectionStateInfo(); // the first tick refreshes
    m_info.lastMyCompScanTime = 0;
    m_now = m_now.load() + 30'999'999'999ns;
    model.UpdateProtectionStateInfo();
    EXPECT_EQ(RowsOf(model), Rows{});
    m_now = m_now.load() + 1ns;
    model.UpdateProtectionStateInfo();
    EXPECT_EQ(RowsOf(model), Rows{ScanRow});

    m_info.lastMyCompScanTime = 5;
    model.UpdateProtectionStateInfo();
    EXPECT_EQ(RowsOf(model), Rows{ScanRow});
    PushState(task_name::MemoryScan);
    model.UpdateProtectionStateInfo();
    EXPECT_EQ(RowsOf(model), Rows{ScanRow}) << "not a task that the page shows";
    EXPECT_EQ(m_app.tracer->Count(800, "Do nothing if state of Memory_Scan was changed"), 1u);
    PushState(task_name::FullScan);
    model.UpdateProtectionStateInfo();
    EXPECT_EQ(RowsOf(model), Rows{});

    m_info.lastMyCompScanTime = 0;
    model.UpdateProtectionStateInfo();
    EXPECT_EQ(RowsOf(model), Rows{}) << "a change counts once";
    for (const char16_t* const name : {task_name::FileMonitoring, task_name::Update}) {
        m_info.lastMyCompScanTime = m_info.lastMyCompScanTime == 0 ? 5 : 0;
        PushState(name);
        model.UpdateProtectionStateInfo();
        EXPECT_EQ(model.rowCount(), m_info.lastMyCompScanTime == 0 ? 1 : 0);
    }
}

TEST_F(ProtectionStateRefreshTest, anEventWithoutItsFieldsDoesNotStopLaterOnes) {
    ProtectionStateModel model(Clock());
    model.UpdateProtectionStateInfo();
    m_info.lastMyCompScanTime = 0;
    Note(EventName::TaskStateChanged);
    Note(EventName::UpdateError);
    EXPECT_EQ(m_app.tracer->Count(300, "there is no field TaskName"), 1u);
    EXPECT_EQ(m_app.tracer->Count(300, "map::at"), 1u);
    model.UpdateProtectionStateInfo();
    EXPECT_EQ(RowsOf(model), Rows{});
    Note(EventName::ProductModuleInstalled);
    model.UpdateProtectionStateInfo();
    EXPECT_EQ(RowsOf(model), Rows{ScanRow});
}

TEST_F(ProtectionStateRefreshTest, whatCannotBeReadLeavesTheRowsAsTheyStood) {
    SetAge(4);
    ProtectionStateModel model(Clock());
    model.UpdateProtectionStateInfo();
    const Rows before = RowsOf(model);
    QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
    m_info = AppInfo();
    m_app.appInfo->failure = ulk::eTimeout;
    Refresh(model);
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot get application info"), 1u);
    m_app.appInfo->failure = ulk::sOk;
    m_app.tasks->RemoveTask(1);
    Refresh(model);
    EXPECT_EQ(m_app.tracer->Count(300, "Cannot get info for OAS task"), 1u);
    EXPECT_EQ(RowsOf(model), before);
    EXPECT_EQ(removed.count(), 0);
    SetTask(FixedTaskId::FileMonitoring, TaskState::Started);
    Refresh(model);
    EXPECT_NE(RowsOf(model), before);
}

TEST_F(ProtectionStateRefreshTest, withoutAServiceThePageIsEmptyAndItsCommandsFailQuietly) {
    m_app.connected = false;
    {
        ProtectionStateModel model;
        EXPECT_EQ(RowsOf(model), Rows{});
        model.startTask(QStringLiteral("Update"));
        model.UpdateProtectionStateInfo();
    }
    EXPECT_EQ(m_app.tracer->Count(300, "cannot start task: "), 1u);
    m_app.connected = true;
}

TEST_F(ProtectionStateRefreshTest, storageIsMeasuredWhileTheOtherRowsShow) {
    constexpr char StorageRow[] = "6 Storage size limit almost reached.|Delete objects that you no longer need from "
                                  "Storage, or increase its size limit.||1";
    m_info.lastMyCompScanTime = 0;
    m_backup->Add(1, u"/a", (1u << 20) * 81 / 100 + 1);
    m_backup->Shut(true);
    ProtectionStateModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.UpdateProtectionStateInfo();
    EXPECT_EQ(RowsOf(model), Rows{ScanRow});
    m_backup->Shut(false);
    // By the model's own timer.
    EXPECT_TRUE(WaitUntil([&] { return RowsOf(model) == Rows{ScanRow, StorageRow}; }));
    m_backup->SetSettings(0, 2);
    Note(EventName::ObjectRemovedFromBackup);
    EXPECT_TRUE(WaitUntil([&] { return RowsOf(model) == Rows{ScanRow}; }));
}

} // namespace
} // namespace tfs::gui
