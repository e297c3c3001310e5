// SPDX-License-Identifier: GPL-2.0-or-later
// The rules of the task list in their plainest form: one list of everything that was told, searched from its
// beginning, and rows made anew from what the service would say.
#pragma once

#include <gui/task_manager/task_info.h>

#include <QtCore/QStringList>
#include <map>
#include <optional>
#include <vector>

namespace tfs::gui::test {

/// What the service knows at one moment, and what it lets this user do.
struct ReferenceService {
    std::map<std::uint64_t, core::TaskInfo> tasks;
    std::map<std::uint64_t, OxsStatistic> statistics;
    bool allowLocal = true;
    bool allowGroup = false;
    bool isConnected = true;
    bool isReachable = true; ///< connected, and answering
};

/// A row as the list's roles show it.
struct ReferenceRow {
    std::uint64_t id = 0;
    int state = 0;
    int progress = 0;
    int reportType = 0;
    bool cannotBeDeleted = false;
    bool canBeStarted = false;
    bool canBeStopped = false;
    bool showFullInfo = false;
    bool showStartButton = false;
    bool resultIsError = false;
    QString name;
    QString result;
    QStringList lines;
    friend bool operator==(const ReferenceRow&, const ReferenceRow&) = default;
};

class TaskListReference {
public:
    explicit TaskListReference(ReferenceService& service) : m_service(service) {}

    void SetMode(bool scans);
    void Created(std::uint64_t id, const ulk::types::string16_t& type);
    void Deleted(std::uint64_t id, const ulk::types::string16_t& type);
    void StateChanged(std::uint64_t id, const ulk::types::string16_t& type, types::TaskState::Type state);
    void Progressed(std::uint64_t id, bool ofScan, int percent);
    void Tick();
    /// Takes from the service what the row says that it has.
    void UserDeletes(std::uint64_t id);

    std::vector<ReferenceRow> Rows() const;

private:
    struct Source {
        core::TaskInfo task;
        bool isAlive = false;
        bool canBeStarted = false;
        bool canBeStopped = false;
        std::optional<OxsStatistic> own; ///< of a task that is gone
    };
    struct Entry {
        ReferenceRow row;
        Source source;
        bool tellsProgress = false;
        bool tellsProgressOnly = false;
    };

    bool IsOfMode(const ulk::types::string16_t& type) const;
    std::optional<Source> Ask(std::uint64_t id) const;
    Entry Convert(const Source& source) const;
    void Replace(Entry& entry, Entry change) const;
    Entry* Find(std::uint64_t id);

    ReferenceService& m_service;
    bool m_scans = false;
    std::map<bool, std::vector<Source>> m_lastGood;
    std::vector<Entry> m_entries;
    std::vector<std::uint64_t> m_created;
    std::vector<std::uint64_t> m_deleted;
    std::vector<Entry> m_changes;
};

} // namespace tfs::gui::test
