// SPDX-License-Identifier: GPL-2.0-or-later
// Follows one run of a task through its events.
#pragma once

#include <contract/tfs/event.h>
#include <control/reporter.h>

#include <initializer_list>
#include <string>

namespace tfs::control {

/// Owned by the command that waits; main thread.
class TaskWatch {
public:
    virtual ~TaskWatch() = default;

    /// Events of other tasks are left alone.
    void Take(const Event& event);

    std::uint64_t TaskId() const noexcept { return m_taskId; }
    bool HasEnded() const noexcept { return m_ended; }
    /// The service never began the run; Reason tells why.
    bool HasFailedToStart() const noexcept { return m_failedToStart; }
    RunEnd End() const noexcept { return m_end; }
    /// Bytes, as the service told them; may be empty.
    const std::string& Reason() const noexcept { return m_reason; }

protected:
    TaskWatch(std::uint64_t taskId, IReporter& reporter) : m_reporter(reporter), m_taskId(taskId) {}

    /// What a subscription must ask for: the events of every run, and those of its kind.
    static EventFilter FilterWith(std::initializer_list<types::EventName::Type> own);
    /// The first of the values that the event carries, as bytes.
    static std::string FirstOf(const Event& event, std::initializer_list<types::AdditionalName::Type> names);

    IReporter& m_reporter;

private:
    virtual void OnEvent(const Event& event) = 0;
    bool IsOfTask(const Event& event) const;
    void OnStateChanged(const Event& event);

    std::uint64_t m_taskId;
    bool m_ended = false;
    bool m_failedToStart = false;
    RunEnd m_end = RunEnd::Completed;
    std::string m_reason;
};

} // namespace tfs::control
