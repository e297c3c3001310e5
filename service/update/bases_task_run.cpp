// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/bases_task_run.h>
#include <service/update/update_events.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace tfs::service::update {
namespace {

/// Four progress events a second at most.
constexpr std::chrono::milliseconds ProgressInterval{250};
constexpr std::uint32_t LoadedPercent = 95;

} // namespace

BasesTaskRun::BasesTaskRun(tasks::RunOrder order, tasks::IRunHost& host, UpdateArea& area, IBasesUser& user)
    : m_order(std::move(order)), m_area(area), m_user(user), m_host(host) {}

void BasesTaskRun::Execute() noexcept {
    tasks::RunOutcome outcome;
    try {
        outcome = Run();
    } catch (const std::exception&) {
        outcome.error = ulk::ResultText(ulk::eUnexpected);
    }
    try {
        m_host.OnRunEnded(m_order.task, outcome);
    } catch (const std::exception&) { // memory is short; the registry has changed what it could
    }
}

tasks::RunOutcome BasesTaskRun::Run() {
    tasks::RunOutcome outcome;
    if (IsStopped()) {
        outcome.end = tasks::RunEnd::Stopped;
        return outcome;
    }
    if (!Prepare()) {
        outcome.reason = types::TaskNotStartedReason::InternalSettingsError;
        outcome.error = m_failure;
        return outcome;
    }
    UpdateArea::Turn turn(m_area);
    SignatureSets* sets = turn.Sets();
    if (sets == nullptr) {
        outcome.error = "another update or rollback is running";
        return outcome;
    }
    m_host.OnRunBegun(m_order.task);
    outcome.begun = true;
    try {
        switch (Work(*sets)) {
        case End::Completed:
            outcome.end = tasks::RunEnd::Completed;
            break;
        case End::Stopped:
            outcome.end = tasks::RunEnd::Stopped;
            break;
        case End::Failed:
            outcome.error = m_failure;
            break;
        }
    } catch (const std::exception& e) {
        outcome.error = e.what();
    }
    if (outcome.end != tasks::RunEnd::Completed)
        sets->Discard();
    return outcome;
}

void BasesTaskRun::Stop() noexcept { m_stopped = true; }

result_t BasesTaskRun::Replace(const std::string& folder, std::string& why) {
    const result_t result = m_user.Replace(
        folder, [this] { return IsStopped(); }, why);
    if (!ULK_SUCCEEDED(result) && why.empty())
        why = ulk::ResultText(result);
    why = CleanLine(why);
    return result;
}

void BasesTaskRun::PutBack(const std::string& folder) {
    std::string ignored;
    (void)m_user.Replace(
        folder, [] { return false; }, ignored);
}

BasesTaskRun::End BasesTaskRun::Fail(std::string why) {
    m_failure = std::move(why);
    Publish(MakeFailure(m_failure));
    return End::Failed;
}

BasesTaskRun::End BasesTaskRun::TakeIntoUse(const SignatureSets& sets, const std::string& folder,
                                            const std::function<result_t(std::string& problem)>& follow) {
    const std::string inUse = sets.CurrentFolder();
    std::string problem;
    const result_t loaded = Replace(folder, problem);
    if (loaded == ulk::eCancelled && IsStopped())
        return End::Stopped;
    if (!ULK_SUCCEEDED(loaded)) {
        Publish(MakeBasesNotLoaded(m_order.task, m_order.initiator, problem));
        return Fail(std::move(problem));
    }
    Progress(LoadedPercent);
    if (const result_t followed = follow(problem); !ULK_SUCCEEDED(followed)) {
        PutBack(inUse);
        return Fail(problem.empty() ? std::string(ulk::ResultText(followed)) : problem);
    }
    Progress(100);
    return End::Completed;
}

void BasesTaskRun::Progress(std::uint32_t percent) {
    if (m_percent && percent <= *m_percent)
        return;
    m_percent = percent;
    const auto now = std::chrono::steady_clock::now();
    m_time.Note(now, percent);
    m_host.OnRunProgress(m_order.task, {percent, m_time.Left(100 - std::min(percent, 100u))});
    if (m_told && now - *m_told < ProgressInterval)
        return;
    m_told = now;
    m_host.PublishProgress(MakeUpdateProgress(m_order.task, percent));
}

} // namespace tfs::service::update
