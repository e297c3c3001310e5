// SPDX-License-Identifier: GPL-2.0-or-later
// A device whose state the protection page shows.
#pragma once

#include "fake_backup.h"
#include "gui_fixture.h"

#include <foundation/datetime.h>
#include <gui/protection_info/protection_state_model.h>

#include <ctime>

namespace tfs::gui::test {

using Rows = std::vector<std::string>;

inline constexpr char UpdateRow[] = "1 Databases are out of date|Start update task.|Update|1";
inline constexpr char MonitoringRow[] =
    "3 Protection is disabled|Enable protection to ensure that the application functions correctly.|File_Monitoring|1";
inline constexpr char ScanRow[] =
    "4 Full scan was never started|Full scan was never started. Start Full scan task.|Scan_My_Computer|1";

/// Healthy as long as a test says nothing else.
class ProtectionStateTest : public GuiTest {
protected:
    using EventName = types::EventName;
    using TaskState = types::TaskState;

    ProtectionStateTest() {
        SetTask(FixedTaskId::FileMonitoring, TaskState::Started);
        SetTask(FixedTaskId::Update, TaskState::Stopped);
        m_info.avBasesLoaded = true;
        m_info.lastMyCompScanTime = 1;
        m_info.canRunProtection = true;
        SetAge(0);
        m_backup->SetSettings(0, 1);
        m_app.remote->Put<ITfstBackupManager>(m_backup.Get());
        m_app.remote->Put<ITfsBackupConfigurator>(m_backup.Get());
    }

    void SetTask(FixedTaskId id, TaskState::Type state, std::int64_t startTime = 0) {
        core::TaskInfo task = id == FixedTaskId::Update ? MakeTask(6, task_name::Update, task_type::Update, state)
                                                        : MakeTask(1, task_name::FileMonitoring, task_type::OAS, state);
        task.startTime = startTime;
        m_app.tasks->SetTask(task);
    }
    void SetAge(std::int64_t days) {
        m_info.avBasesDate = ulk::datetime::NowTicks() - days * ulk::datetime::kTicksPerDay;
    }
    ProtectionStateModel::SteadyClock Clock() {
        return [this] { return std::chrono::steady_clock::time_point(m_now); };
    }
    /// A tick with something to look at.
    void Refresh(ProtectionStateModel& model) {
        Note(EventName::AVBasesApplied);
        model.UpdateProtectionStateInfo();
    }
    void Note(EventName::Type type) {
        Event event;
        event.type = type;
        PushAndWait(event);
    }
    void PushState(const char16_t* taskName) {
        Event event;
        event.type = EventName::TaskStateChanged;
        event.Add(types::AdditionalName::TaskName, String(taskName));
        PushAndWait(event);
    }
    static Rows RowsOf(const ProtectionStateModel& model) {
        Rows rows;
        for (int row = 0; row < model.rowCount(); ++row) {
            const auto text = [&](int role) { return model.data(model.index(row), role).toString().toStdString(); };
            EXPECT_EQ(text(ProtectionStateModel::IssueIdRole), text(ProtectionStateModel::ActionsTypeRole));
            rows.push_back(text(ProtectionStateModel::IssueIdRole) + " " + text(ProtectionStateModel::IssueTitleRole) +
                           "|" + text(ProtectionStateModel::IssueDescriptionRole) + "|" +
                           text(ProtectionStateModel::TaskNameRole) + "|" +
                           (model.data(model.index(row), ProtectionStateModel::AvailableRole).toBool() ? "1" : "0"));
        }
        return rows;
    }
    Rows Shown() {
        const ProtectionStateModel model;
        return RowsOf(model);
    }

    ulk::Ptr<FakeBackup> m_backup = FakeApplication::Make<FakeBackup>();
    AppInfo& m_info = m_app.appInfo->appInfo;
    std::atomic<std::chrono::nanoseconds> m_now{std::chrono::hours(1)};
};

} // namespace tfs::gui::test
