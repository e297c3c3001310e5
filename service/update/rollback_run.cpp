// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/rollback_run.h>
#include <service/update/update_events.h>

namespace tfs::service::update {

Event RollbackRun::MakeFailure(const std::string& why) const {
    return MakeRollbackError(m_order.task, m_order.initiator, why);
}

BasesTaskRun::End RollbackRun::Work(SignatureSets& sets) {
    Progress(0);
    const std::string before = sets.PreviousFolder();
    if (before.empty())
        return Fail("there is no set of signatures before this one");
    const End end = TakeIntoUse(sets, before, [&sets](std::string& problem) { return sets.RollBack(problem); });
    if (end == End::Completed)
        Publish(MakeRollbackCompleted(m_order.task, m_order.initiator));
    return end;
}

} // namespace tfs::service::update
