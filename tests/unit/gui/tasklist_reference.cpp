// SPDX-License-Identifier: GPL-2.0-or-later
#include "tasklist_reference.h"

#include <algorithm>
#include <set>
#include <unistd.h>

namespace tfs::gui::test {
namespace {

using types::TaskState;

const std::set<ulk::types::string16_t> scanTypes{u"ODS", u"MemoryScan", u"BootScan", u"ODFIM"};
const std::set<ulk::types::string16_t> updateTypes{u"Update", u"Retranslate"};

QString Text(const ulk::types::string16_t& text) {
    return QString::fromStdU16String(std::u16string(std::u16string_view(text)));
}

QString NameOf(const core::TaskInfo& task) {
    if (task.isTemporary && task.taskType == u"ODS")
        return task.settings.Get<ScanSettings>() == nullptr ? QStringLiteral("Custom scan")
                                                            : QStringLiteral("Custom scan of /home");
    switch (task.taskId) {
    case 2:
        return QStringLiteral("Scan my computer");
    case 4:
        return QStringLiteral("Boot sector scan");
    case 5:
        return QStringLiteral("Memory scan");
    case 6:
        return QStringLiteral("Update");
    case 8:
        return QStringLiteral("Update distribution");
    default:
        return Text(task.taskName);
    }
}

bool IsUnderWay(int state) { return state < TaskState::Stopping; }
bool IsEnding(int state) { return state == TaskState::Stopping || state == TaskState::Stopped; }

} // namespace

bool TaskListReference::IsOfMode(const ulk::types::string16_t& type) const {
    return (m_scans ? scanTypes : updateTypes).count(type) != 0;
}

std::optional<TaskListReference::Source> TaskListReference::Ask(std::uint64_t id) const {
    Source source;
    if (const auto task = m_service.tasks.find(id); task != m_service.tasks.end()) {
        source.task = task->second;
        source.task.cannotBeDeleted = !source.task.isTemporary;
        source.isAlive = true;
        source.canBeStarted = source.task.isCentralKit != 0 ? m_service.allowGroup : m_service.allowLocal;
        const bool isAnothers = source.task.isTemporary && source.task.owner && source.task.owner->uid != ::getuid();
        source.canBeStopped = source.canBeStarted && !isAnothers;
        return source;
    }
    const auto statistic = m_service.statistics.find(id);
    if (statistic == m_service.statistics.end())
        return std::nullopt;
    source.task.taskId = id;
    source.task.taskName = statistic->second.taskName;
    source.task.taskType = statistic->second.taskType;
    source.task.isTemporary = statistic->second.isTemporary;
    source.task.cannotBeDeleted = false;
    source.own = statistic->second;
    return source;
}

TaskListReference::Entry TaskListReference::Convert(const Source& source) const {
    Entry entry;
    entry.source = source;
    ReferenceRow& row = entry.row;
    row.id = source.task.taskId;
    row.state = source.task.state;
    row.name = NameOf(source.task);
    row.cannotBeDeleted = source.task.cannotBeDeleted.value_or(false);
    row.canBeStarted = source.canBeStarted;
    row.canBeStopped = source.canBeStopped;
    row.showStartButton = !(source.task.isTemporary && source.task.taskType == u"ODS");
    const bool isIntegrityCheck = source.task.taskType == u"ODFIM";
    row.reportType = isIntegrityCheck ? 7 : m_scans ? 5 : 6;
    if (!m_scans)
        return entry;
    std::optional<OxsStatistic> statistic = source.own;
    const auto remote = m_service.statistics.find(row.id);
    if (!statistic && m_service.isReachable && remote != m_service.statistics.end())
        statistic = remote->second;
    if (!statistic) {
        if (!isIntegrityCheck)
            row.lines << QStringLiteral("Information about the previous start is unavailable.");
        return entry;
    }
    row.lines << QStringLiteral("objects scanned: %1").arg(statistic->scan.scannedObjects)
              << QStringLiteral("threats detected: %1").arg(statistic->scan.threatsFound);
    row.resultIsError = statistic->scan.threatsFound != 0;
    row.result = row.resultIsError ? QStringLiteral("Threat detected") : QStringLiteral("Nothing detected");
    return entry;
}

void TaskListReference::Replace(Entry& entry, Entry change) const {
    const int before = entry.row.state;
    const int after = change.row.state;
    const bool isSameRun = (IsUnderWay(before) && IsUnderWay(after)) || (IsEnding(before) && IsEnding(after));
    if (!change.tellsProgress && after != TaskState::Starting && isSameRun)
        change.row.progress = entry.row.progress;
    entry = std::move(change);
}

TaskListReference::Entry* TaskListReference::Find(std::uint64_t id) {
    const auto found =
        std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& entry) { return entry.row.id == id; });
    return found == m_entries.end() ? nullptr : &*found;
}

void TaskListReference::SetMode(bool scans) {
    m_scans = scans;
    std::vector<Source>& list = m_lastGood[scans];
    if (m_service.isReachable) {
        std::set<std::uint64_t> ids;
        for (const auto& [id, task] : m_service.tasks)
            ids.insert(id);
        for (const auto& [id, statistic] : m_service.statistics)
            ids.insert(id);
        list.clear();
        for (const std::uint64_t id : ids) {
            const auto source = Ask(id);
            if (source && IsOfMode(source->task.taskType))
                list.push_back(*source);
        }
    }
    m_entries.clear();
    for (const Source& source : list)
        m_entries.push_back(Convert(source));
}

void TaskListReference::Created(std::uint64_t id, const ulk::types::string16_t& type) {
    if (IsOfMode(type))
        m_created.push_back(id);
}

void TaskListReference::Deleted(std::uint64_t id, const ulk::types::string16_t& type) {
    if (IsOfMode(type))
        m_deleted.push_back(id);
}

void TaskListReference::StateChanged(std::uint64_t id, const ulk::types::string16_t& type, TaskState::Type state) {
    if (!IsOfMode(type) || !m_service.isReachable)
        return;
    auto source = Ask(id);
    if (!source)
        return;
    source->task.state = state;
    Entry change = Convert(*source);
    change.row.showFullInfo = state == TaskState::Stopped;
    change.tellsProgress = IsEnding(state);
    change.row.progress = change.tellsProgress ? 100 : 0;
    m_changes.push_back(change);
}

void TaskListReference::Progressed(std::uint64_t id, bool ofScan, int percent) {
    if (ofScan != m_scans || Find(id) == nullptr || !m_service.isReachable)
        return;
    const auto source = Ask(id);
    if (!source)
        return;
    Entry change = Convert(*source);
    change.row.progress = percent;
    change.tellsProgress = true;
    change.tellsProgressOnly = true;
    // Progress that nobody has seen gives way to newer progress.
    const auto last =
        std::find_if(m_changes.rbegin(), m_changes.rend(), [&](const Entry& queued) { return queued.row.id == id; });
    if (last != m_changes.rend() && last->tellsProgressOnly)
        *last = change;
    else
        m_changes.push_back(change);
}

void TaskListReference::Tick() {
    for (const std::uint64_t id : m_created) {
        const auto source = m_service.isReachable ? Ask(id) : std::nullopt;
        if (Find(id) == nullptr && source && IsOfMode(source->task.taskType))
            m_entries.push_back(Convert(*source));
    }
    m_created.clear();

    std::set<std::uint64_t> shown;
    std::vector<Entry> kept;
    for (const Entry& change : m_changes) {
        if (!shown.insert(change.row.id).second)
            kept.push_back(change);
        else if (Entry* const entry = Find(change.row.id))
            Replace(*entry, change);
    }
    m_changes = std::move(kept);

    for (const std::uint64_t id : m_deleted) {
        Entry* const entry = Find(id);
        if (entry == nullptr)
            continue;
        if (!entry->source.task.isTemporary || entry->source.task.taskType != u"ODS") {
            m_entries.erase(m_entries.begin() + (entry - m_entries.data()));
            continue;
        }
        if (!m_service.isReachable)
            continue;
        Source source = Ask(id).value_or(entry->source);
        if (source.isAlive && m_service.tasks.count(id) == 0) {
            source.isAlive = false;
            source.canBeStarted = source.canBeStopped = false;
            source.task.state = TaskState::Stopped;
        }
        const Entry gone = Convert(source);
        const bool hasMore =
            std::any_of(m_changes.begin(), m_changes.end(), [&](const Entry& change) { return change.row.id == id; });
        if (hasMore)
            m_changes.push_back(gone);
        Replace(*entry, gone);
    }
    m_deleted.clear();
}

void TaskListReference::UserDeletes(std::uint64_t id) {
    Entry* const entry = Find(id);
    if (entry == nullptr)
        return;
    // What the service has nothing of needs no answer from it.
    const bool needsAnswer = entry->source.isAlive || entry->source.own;
    if (needsAnswer ? !m_service.isReachable : !m_service.isConnected)
        return;
    if (entry->source.isAlive)
        m_service.tasks.erase(id);
    if (entry->source.own)
        m_service.statistics.erase(id);
    m_entries.erase(m_entries.begin() + (entry - m_entries.data()));
}

std::vector<ReferenceRow> TaskListReference::Rows() const {
    std::vector<ReferenceRow> rows;
    for (const Entry& entry : m_entries)
        rows.push_back(entry.row);
    return rows;
}

} // namespace tfs::gui::test
