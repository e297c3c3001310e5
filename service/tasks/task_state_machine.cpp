// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/task_state_machine.h>

namespace tfs::service::tasks {

std::optional<TaskState::Type> StateAfter(TaskState::Type state, TaskCommand command) noexcept {
    switch (command) {
    case TaskCommand::Start:
        if (state == TaskState::Stopped)
            return TaskState::Starting;
        break;
    case TaskCommand::Stop:
        if (state == TaskState::Starting || state == TaskState::Started || state == TaskState::Pausing ||
            state == TaskState::Suspended || state == TaskState::Resuming)
            return TaskState::Stopping;
        break;
    case TaskCommand::Pause:
        if (state == TaskState::Started)
            return TaskState::Pausing;
        break;
    case TaskCommand::Resume:
        if (state == TaskState::Suspended)
            return TaskState::Resuming;
        break;
    }
    return std::nullopt;
}

std::optional<TaskState::Type> StateAfter(TaskState::Type state, RunSignal signal) noexcept {
    switch (signal) {
    case RunSignal::Begun:
        if (state == TaskState::Starting)
            return TaskState::Started;
        break;
    case RunSignal::Waits:
        if (state == TaskState::Started)
            return TaskState::Starting;
        break;
    case RunSignal::Held:
        if (state == TaskState::Pausing)
            return TaskState::Suspended;
        break;
    case RunSignal::GoneOn:
        if (state == TaskState::Resuming)
            return TaskState::Started;
        break;
    case RunSignal::Ended:
        if (state != TaskState::Stopped)
            return TaskState::Stopped;
        break;
    }
    return std::nullopt;
}

} // namespace tfs::service::tasks
