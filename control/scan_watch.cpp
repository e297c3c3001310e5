// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/scan_watch.h>
#include <control/values.h>

#include <initializer_list>

namespace tfs::control {

namespace {

using types::AdditionalName;
using types::EventName;

/// The first of the values that the event carries, as bytes.
std::string FirstOf(const Event& event, std::initializer_list<AdditionalName::Type> names) {
    for (const AdditionalName::Type name : names) {
        ulk::types::variant_t value;
        if (ULK_SUCCEEDED(event.GetAdditionalData(name, value)))
            return BytesOf(value);
    }
    return {};
}

ScanFinding ThreatOf(const Event& event) {
    return {ScanFinding::Kind::Threat, FirstOf(event, {AdditionalName::FileName}),
            FirstOf(event, {AdditionalName::DetectName})};
}

ScanFinding NotProcessedOf(const Event& event) {
    std::string reason = FirstOf(event, {AdditionalName::SkipReason, AdditionalName::Reason});
    const std::string detail = FirstOf(event, {AdditionalName::ObjectProcessError});
    if (!reason.empty() && !detail.empty())
        reason += ": ";
    return {ScanFinding::Kind::NotProcessed, FirstOf(event, {AdditionalName::FileName}), reason + detail};
}

} // namespace

EventFilter ScanWatch::Filter() {
    EventFilter filter;
    filter.eventTypes = {
        EventName::ThreatDetected,         EventName::ObjectNotProcessed, EventName::ObjectProcessingError,
        EventName::TaskStateChanged,       EventName::TaskDeleted,        EventName::TaskNotStarted,
        EventName::OnDemandTaskInterrupted};
    return filter;
}

bool ScanWatch::IsOfTask(const Event& event) const {
    ulk::types::variant_t value;
    if (ULK_FAILED(event.GetAdditionalData(AdditionalName::TaskId, value)))
        return false;
    return BytesOf(value) == std::to_string(m_taskId);
}

void ScanWatch::Take(const Event& event) {
    if (!IsOfTask(event))
        return;
    switch (event.type) {
    case EventName::ThreatDetected:
        ++m_threats;
        m_reporter.Finding(ThreatOf(event));
        break;
    case EventName::ObjectNotProcessed:
    case EventName::ObjectProcessingError:
        ++m_notProcessed;
        m_reporter.Finding(NotProcessedOf(event));
        break;
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
        m_end = ScanEnd::Interrupted;
        m_reason = FirstOf(event, {AdditionalName::Reason});
        break;
    default:
        break;
    }
}

void ScanWatch::OnStateChanged(const Event& event) {
    ulk::types::variant_t value;
    std::int64_t state = types::TaskState::Unknown;
    if (ULK_FAILED(event.GetAdditionalData(AdditionalName::TaskState, value)) ||
        !ulk::types::VariantToInteger(value, state))
        return;
    if (state == types::TaskState::Stopped)
        m_ended = true;
    else if (state == types::TaskState::Stopping && m_end == ScanEnd::Completed)
        m_end = ScanEnd::Stopped;
}

} // namespace tfs::control
