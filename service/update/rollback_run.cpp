// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/rollback_run.h>
#include <service/update/update_events.h>

#include <utility>

namespace tfs::service::update {
namespace {

constexpr std::uint32_t LoadedPercent = 95;

} // namespace

BasesTaskRun::End RollbackRun::Fail(std::string why) {
    m_failure = std::move(why);
    Publish(MakeRollbackError(m_order.task, m_order.initiator, m_failure));
    return End::Failed;
}

BasesTaskRun::End RollbackRun::Work(SignatureSets& sets) {
    Progress(0);
    const std::string inUse = sets.CurrentFolder();
    const std::string before = sets.PreviousFolder();
    if (before.empty())
        return Fail("there is no set of signatures before this one");
    std::string problem;
    const result_t loaded = Replace(before, problem);
    if (loaded == ulk::eCancelled && IsStopped())
        return End::Stopped;
    if (!ULK_SUCCEEDED(loaded)) {
        Publish(MakeBasesNotLoaded(m_order.task, m_order.initiator, problem));
        return Fail(std::move(problem));
    }
    Progress(LoadedPercent);
    if (const result_t done = sets.RollBack(problem); !ULK_SUCCEEDED(done)) {
        std::string ignored;
        (void)m_user.Replace(
            inUse, [] { return false; }, ignored);
        return Fail(problem.empty() ? std::string(ulk::ResultText(done)) : problem);
    }
    Progress(100);
    Publish(MakeRollbackCompleted(m_order.task, m_order.initiator));
    return End::Completed;
}

} // namespace tfs::service::update
