// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/escape.h>
#include <control/task_text.h>
#include <control/task_wait.h>
#include <control/values.h>

namespace tfs::control {
namespace {

using namespace std::chrono_literals;

constexpr auto Step = 100ms;             ///< how late a request to stop may be noticed
constexpr auto QuietTime = 2s;           ///< without an event for so long the service is asked
constexpr auto StopDeadline = 15s;       ///< for a stop that was asked for
constexpr auto ProgressInterval = 250ms; ///< between two questions how far it has come

} // namespace

void TaskWait::UntilEnd(bool showProgress) {
    auto lastEvent = Clock::now();
    while (!m_watch.HasEnded()) {
        if (const auto event = m_events.Pop(Step)) {
            m_watch.Take(*event);
            lastEvent = Clock::now();
        } else if (!m_context.isServiceAlive()) {
            throw Failure(ExitCode::Unavailable,
                          "The service went away while " + TaskQuoted(Utf8(m_name)) + " was running.");
        }
        if (m_watch.HasEnded())
            break;
        HeedStopRequest(); // also where events come faster than they can be told
        if (showProgress)
            TellProgress();
        if (Clock::now() - lastEvent >= QuietTime) {
            if (IsOver())
                break;
            lastEvent = Clock::now();
        }
    }
    if (m_watch.HasFailedToStart())
        throw Failure(ExitCode::Internal, "The service could not start " + TaskQuoted(Utf8(m_name)) + ": " +
                                              EscapeForTerminal(m_watch.Reason()) + ".");
}

void TaskWait::HeedStopRequest() {
    const unsigned requests = m_context.stopRequests();
    if (requests == 0)
        return;
    if (!m_stopAsked) {
        m_stopAsked = true;
        m_stopDeadline = Clock::now() + StopDeadline;
        m_context.reporter.StopAsked();
        const result_t result = m_tasks.StopTask(TaskId());
        if (result != ulk::eNotFound && result != ulk::eInvalidState)
            ThrowIfFailed(result, "Cannot stop " + TaskQuoted(Utf8(m_name)));
    } else if (requests > 1 || Clock::now() >= m_stopDeadline) {
        throw Failure(ExitCode::Timeout,
                      "The command to stop " + TaskQuoted(Utf8(m_name)) + " was given; its end was not waited for.");
    }
}

bool TaskWait::IsOver() {
    core::TaskInfo task;
    const result_t result = m_tasks.GetTaskInfo(TaskId(), task);
    if (result == ulk::eNotFound)
        return true;
    ThrowIfFailed(result, "Cannot read the state of " + TaskQuoted(Utf8(m_name)));
    return task.state == types::TaskState::Stopped;
}

/// A task that tells no progress is waited for all the same.
void TaskWait::TellProgress() {
    if (Clock::now() - m_progressAsked < ProgressInterval)
        return;
    TaskProgress progress;
    if (ULK_SUCCEEDED(m_tasks.GetProgress(TaskId(), progress)))
        m_context.reporter.Progress(Utf8(m_name), progress);
    m_progressAsked = Clock::now();
}

ulk::types::string16_t TaskWait::TaskId() const {
    return ulk::text::Cast<ulk::types::string16_t>(std::string_view(std::to_string(m_watch.TaskId())));
}

} // namespace tfs::control
