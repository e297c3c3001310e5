// SPDX-License-Identifier: GPL-2.0-or-later
// Storage of the fake service.
#pragma once

#include "fake_services.h"

#include <contract/tfs/backup.h>

#include <condition_variable>
#include <set>

namespace tfs::gui::test {

/// Answers the two fields of a QueryFilter as the service does. Any thread.
class FakeBackup : public FakeBase<ITfstBackupManager, ITfsBackupConfigurator> {
public:
    result_t Query(const QueryFilter& filter, BackupItems& items) override;
    result_t Remove(const QueryFilter& filter) override;
    result_t Restore(BackupId id) override;
    result_t GetSettings(settings::BackupSettings& backupSettings) override;

    void Add(BackupId id, const char16_t* name, std::uint64_t size = 1);
    void SetSettings(std::uint32_t storageDays, std::uint32_t sizeLimitMb);
    /// The object `child` lies inside `container`.
    void AddChild(BackupId container, BackupId child);
    /// As "query", "remove 3", "restore 7", in order.
    std::vector<std::string> Calls() const;
    /// While it is shut, queries wait.
    void Shut(bool shut);

    /// What calls answer while it is a failure, and what they throw.
    std::atomic<result_t> queryFailure{ulk::sOk};
    std::atomic<result_t> settingsFailure{ulk::sOk};
    std::atomic<result_t> removeFailure{ulk::sOk};
    std::atomic<bool> throws{false};
    std::map<BackupId, result_t> restoreFailures; ///< set before the first call

private:
    bool Passes(const QueryFilter& filter, const BackupItemInfo& item) const;
    void Note(const std::string& call);

    mutable std::mutex m_mutex;
    std::condition_variable m_opened;
    bool m_shut = false;
    std::map<BackupId, BackupItemInfo> m_items;
    std::map<BackupId, std::set<BackupId>> m_children;
    settings::BackupSettings m_settings;
    std::vector<std::string> m_calls;
};

} // namespace tfs::gui::test
