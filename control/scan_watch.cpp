// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/scan_watch.h>

namespace tfs::control {

using types::AdditionalName;
using types::EventName;

EventFilter ScanWatch::Filter() {
    return FilterWith({EventName::ThreatDetected, EventName::ObjectNotProcessed, EventName::ObjectProcessingError});
}

void ScanWatch::OnEvent(const Event& event) {
    ScanFinding finding;
    finding.path = FirstOf(event, {AdditionalName::FileName});
    if (event.type == EventName::ThreatDetected) {
        ++m_threats;
        finding.kind = ScanFinding::Kind::Threat;
        finding.detail = FirstOf(event, {AdditionalName::DetectName});
    } else {
        ++m_notProcessed;
        finding.kind = ScanFinding::Kind::NotProcessed;
        finding.detail = FirstOf(event, {AdditionalName::SkipReason, AdditionalName::Reason});
        const std::string error = FirstOf(event, {AdditionalName::ObjectProcessError});
        if (!finding.detail.empty() && !error.empty())
            finding.detail += ": ";
        finding.detail += error;
    }
    m_reporter.Finding(finding);
}

} // namespace tfs::control
