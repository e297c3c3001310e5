// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/update_watch.h>

namespace tfs::control {

using types::AdditionalName;
using types::EventName;

EventFilter UpdateWatch::Filter() {
    return FilterWith({EventName::UpdateSourceSelected, EventName::NothingToUpdate, EventName::UpdateError,
                       EventName::AVBasesRollbackError});
}

void UpdateWatch::OnEvent(const Event& event) {
    switch (event.type) {
    case EventName::UpdateSourceSelected:
        m_reporter.UpdateSource(FirstOf(event, {AdditionalName::UpdateSource}));
        break;
    case EventName::NothingToUpdate:
        m_isUpToDate = true;
        break;
    case EventName::UpdateError:
    case EventName::AVBasesRollbackError:
        m_hasFailed = true;
        m_failure = FirstOf(event, {AdditionalName::Reason});
        break;
    default:
        break;
    }
}

UpdateResult UpdateWatch::Result(bool isRollback) const noexcept {
    if (m_hasFailed || End() == RunEnd::Interrupted)
        return UpdateResult::Failed;
    if (m_isUpToDate)
        return UpdateResult::NothingToUpdate;
    if (End() == RunEnd::Stopped)
        return UpdateResult::Stopped;
    return isRollback ? UpdateResult::RolledBack : UpdateResult::Updated;
}

} // namespace tfs::control
