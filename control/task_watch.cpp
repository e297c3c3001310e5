// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/task_watch.h>
#include <control/values.h>

namespace tfs::control {

using types::AdditionalName;
using types::EventName;

EventFilter TaskWatch::FilterWith(std::initializer_list<EventName::Type> own) {
    EventFilter filter;
    filter.eventTypes = {EventName::TaskStateChanged, EventName::TaskDeleted, EventName::TaskNotStarted,
                         EventName::OnDemandTaskInterrupted};
    filter.eventTypes.insert(filter.eventTypes.end(), own.begin(), own.end());
    return filter;
}

std::string TaskWatch::FirstOf(const Event& event, std::initializer_list<AdditionalName::Type> names) {
    for (const AdditionalName::Type name : names) {
        ulk::types::variant_t value;
        if (ULK_SUCCEEDED(event.GetAdditionalData(name, value)))
            return BytesOf(value);
    }
    return {};
}

bool TaskWatch::IsOfTask(const Event& event) const {
    ulk::types::variant_t value;
    if (ULK_FAILED(event.GetAdditionalData(AdditionalName::TaskId, value)))
        return false;
    return BytesOf(value) == std::to_string(m_taskId);
}

void TaskWatch::Take(const Event& event) {
    if (!IsOfTask(event))
        return;
    switch (event.type) {
    case EventName::TaskStateChanged:
        OnStateChanged(event);
        break;
    case EventName::TaskDeleted:
        m_ended = true;
        break;
    case EventName::TaskNotStarted:
        m_ended = m_failedToStart = true;
        m_reason = FirstOf(event, {AdditionalName::Information});
        break;
    case EventName::OnDemandTaskInterrupted:
        m_end = RunEnd::Interrupted;
        m_reason = FirstOf(event, {AdditionalName::Reason});
        break;
    default:
        OnEvent(event);
    }
}

void TaskWatch::OnStateChanged(const Event& event) {
    ulk::types::variant_t value;
    std::int64_t state = types::TaskState::Unknown;
    if (ULK_FAILED(event.GetAdditionalData(AdditionalName::TaskState, value)) ||
        !ulk::types::VariantToInteger(value, state))
        return;
    if (state == types::TaskState::Stopped)
        m_ended = true;
    else if (state == types::TaskState::Stopping && m_end == RunEnd::Completed)
        m_end = RunEnd::Stopped;
}

} // namespace tfs::control
