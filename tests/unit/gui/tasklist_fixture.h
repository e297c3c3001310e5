// SPDX-License-Identifier: GPL-2.0-or-later
// Events about tasks, as the service sends them.
#pragma once

#include "gui_fixture.h"

#include <gui/task_manager/tasklist_model.h>

namespace tfs::gui::test {

class TaskListTest : public GuiTest {
protected:
    using AdditionalName = types::AdditionalName;
    using EventName = types::EventName;
    using TaskState = types::TaskState;

    static Event TaskEvent(EventName::Type type, std::uint64_t id, const char16_t* taskType = task_type::ODS) {
        Event event;
        event.type = type;
        event.Add(AdditionalName::TaskId, id);
        event.Add(AdditionalName::TaskType, String(taskType));
        return event;
    }
    static Event StateEvent(std::uint64_t id, TaskState::Type state, const char16_t* taskType = task_type::ODS) {
        Event event = TaskEvent(EventName::TaskStateChanged, id, taskType);
        event.Add(AdditionalName::TaskState, static_cast<std::int32_t>(state));
        return event;
    }
    static Event ProgressEvent(std::uint64_t id, std::int32_t progress) {
        Event event = TaskEvent(EventName::ODSProgressChanged, id);
        event.Add(AdditionalName::ODSProgress, progress);
        return event;
    }
    static Event UpdateProgressEvent(std::uint64_t id, std::int32_t progress) {
        Event event = TaskEvent(EventName::UpdateProgressChanged, id, task_type::Update);
        event.Add(AdditionalName::UpdateProgress, progress);
        return event;
    }
    static core::TaskInfo CustomScan(std::uint64_t id, TaskState::Type state) {
        core::TaskInfo task = MakeTask(id, u"", task_type::ODS, state);
        task.taskName = ulk::text::ToUtf16Lossy("Temporary_" + std::to_string(id));
        task.isTemporary = true;
        task.settings.Set(ScanSettings{{"/home"}});
        return task;
    }
    static QVariant At(const TaskListModel& model, int row, int role) { return model.data(model.index(row), role); }
    static std::string TextAt(const TaskListModel& model, int row, int role) {
        return At(model, row, role).toString().toStdString();
    }
};

} // namespace tfs::gui::test
