// SPDX-License-Identifier: GPL-2.0-or-later
// A healthy device behind an AppInfoModel.
#pragma once

#include "gui_fixture.h"

#include <foundation/datetime.h>
#include <gui/app_info/app_info_model.h>

#include <ctime>

namespace tfs::gui::test {

class AppInfoModelTest : public GuiTest {
protected:
    using AdditionalName = types::AdditionalName;
    using EventName = types::EventName;
    using TaskState = types::TaskState;

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
    /// Tells the model of a change and lets it refresh.
    void PushAndRefresh(AppInfoModel& model, EventName::Type type) {
        Event event;
        event.type = type;
        PushAndWait(event);
        model.UpdateAppInfo();
    }
    static core::TaskInfo CustomScan() {
        core::TaskInfo task = MakeTask(100, u"Temporary_100", task_type::ODS);
        task.isTemporary = true;
        return task;
    }
};

} // namespace tfs::gui::test
