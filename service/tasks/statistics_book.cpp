// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/statistics_book.h>

#include <algorithm>
#include <utility>

namespace tfs::service::tasks {
namespace {

void AddTo(ScanStatistic& sum, const ScanStatistic& other) noexcept {
    sum.scannedObjects += other.scannedObjects;
    sum.threatsFound += other.threatsFound;
    sum.infectedObjects += other.infectedObjects;
    sum.suspiciousObjects += other.suspiciousObjects;
    sum.curedObjects += other.curedObjects;
    sum.backedUpObjects += other.backedUpObjects;
    sum.deletedObjects += other.deletedObjects;
    sum.notCuredObjects += other.notCuredObjects;
    sum.scanErrors += other.scanErrors;
    sum.passwordProtectedObjects += other.passwordProtectedObjects;
    sum.skippedObjects += other.skippedObjects;
}

bool IsRunning(const KeptStatistic& kept) noexcept { return kept.statistic.finishTime == 0; }

/// Scans, as against what goes on all the time.
bool IsOnDemand(const KeptStatistic& kept) { return kept.statistic.taskType != task_type::OAS; }

bool IsPast(const KeptStatistic& kept) noexcept { return kept.statistic.isTemporary && !IsRunning(kept); }

} // namespace

std::vector<KeptStatistic> StatisticsBook::Restore(KeptState state, const std::set<std::uint64_t>& goOn,
                                                   std::int64_t now) {
    m_state = std::move(state);
    m_state.tasks.clear();
    std::vector<KeptStatistic> interrupted;
    for (KeptStatistic& kept : m_state.statistics) {
        if (!IsRunning(kept) || goOn.contains(kept.statistic.taskId))
            continue;
        Finish(kept.statistic.taskId, now);
        interrupted.push_back(kept);
    }
    return interrupted;
}

void StatisticsBook::Begin(const core::TaskInfo& task, std::uint64_t runId, std::int64_t now) {
    KeptStatistic* kept = FindMutable(task.taskId);
    if (kept == nullptr) {
        auto& list = m_state.statistics;
        if (static_cast<std::size_t>(std::count_if(list.begin(), list.end(), IsPast)) >= m_maxKept)
            list.erase(std::find_if(list.begin(), list.end(), IsPast));
        kept = &list.emplace_back();
    }
    *kept = KeptStatistic();
    kept->runId = runId;
    kept->ownerUid = task.owner ? task.owner->uid : 0;
    kept->statistic.taskId = task.taskId;
    kept->statistic.taskName = task.taskName;
    kept->statistic.taskType = task.taskType;
    kept->statistic.isTemporary = task.isTemporary;
    kept->statistic.startTime = now;
}

void StatisticsBook::Update(std::uint64_t taskId, const ScanStatistic& counters, std::uint64_t bytes) noexcept {
    KeptStatistic* kept = FindMutable(taskId);
    if (kept == nullptr || !IsRunning(*kept))
        return;
    kept->statistic.scan = counters;
    kept->statistic.scannedBytes = bytes;
}

void StatisticsBook::Finish(std::uint64_t taskId, std::int64_t now) noexcept {
    KeptStatistic* kept = FindMutable(taskId);
    if (kept == nullptr || !IsRunning(*kept))
        return;
    // A clock set back must not make the run last less than nothing; 0 would mean that it still runs.
    kept->statistic.finishTime = std::max({now, kept->statistic.startTime, std::int64_t{1}});
    if (IsOnDemand(*kept))
        AddTo(m_state.odsTotal, kept->statistic.scan);
}

KeptStatistic* StatisticsBook::FindMutable(std::uint64_t taskId) noexcept {
    const auto found = std::find_if(m_state.statistics.begin(), m_state.statistics.end(),
                                    [&](const KeptStatistic& kept) { return kept.statistic.taskId == taskId; });
    return found == m_state.statistics.end() ? nullptr : &*found;
}

const KeptStatistic* StatisticsBook::Find(std::uint64_t taskId) const noexcept {
    return const_cast<StatisticsBook*>(this)->FindMutable(taskId);
}

const KeptStatistic* StatisticsBook::Find(std::u16string_view taskName) const noexcept {
    const auto found =
        std::find_if(m_state.statistics.begin(), m_state.statistics.end(), [&](const KeptStatistic& kept) {
            return std::u16string_view(kept.statistic.taskName) == taskName;
        });
    return found == m_state.statistics.end() ? nullptr : &*found;
}

std::vector<OxsStatistic> StatisticsBook::All() const {
    std::vector<OxsStatistic> list;
    list.reserve(m_state.statistics.size());
    for (const KeptStatistic& kept : m_state.statistics)
        list.push_back(kept.statistic);
    return list;
}

ScanStatistic StatisticsBook::Sum() const noexcept {
    ScanStatistic sum = m_state.odsTotal;
    for (const KeptStatistic& kept : m_state.statistics)
        if (IsRunning(kept) && IsOnDemand(kept))
            AddTo(sum, kept.statistic.scan);
    return sum;
}

void StatisticsBook::Remove(std::uint64_t taskId) {
    std::erase_if(m_state.statistics, [&](const KeptStatistic& kept) { return kept.statistic.taskId == taskId; });
}

} // namespace tfs::service::tasks
