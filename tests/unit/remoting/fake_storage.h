// SPDX-License-Identifier: GPL-2.0-or-later
// Storage as the transport sees it: answers with what the test has put in, and notes what was asked.
#pragma once

#include <service/rpc/backup_api.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>

namespace tfs::test {

class FakeStorage final : public service::rpc::IBackupApi {
public:
    // Answers. Set before the server starts.
    BackupItems items; ///< ascending by id; a query passes over every clause
    settings::BackupSettings settings;
    std::atomic<result_t> code{ulk::sOk};
    std::atomic<int> failingQuery{0}; ///< this one of all queries fails
    /// Called inside each change, on a helper thread.
    std::function<void()> duringChange;

    struct Seen {
        std::string method;
        service::rpc::Caller caller;
        QueryFilter filter{};
        BackupId id = 0;
    };
    Seen Last() const;
    int Queries() const noexcept { return m_queries.load(); }

    result_t QueryBackup(const service::rpc::Caller& caller, const QueryFilter& filter,
                         BackupItems& out) noexcept override;
    result_t RemoveFromBackup(const service::rpc::Caller& caller, const QueryFilter& filter) noexcept override;
    result_t RestoreFromBackup(const service::rpc::Caller& caller, BackupId id) noexcept override;
    result_t GetBackupSettings(settings::BackupSettings& out) noexcept override;

private:
    result_t Note(Seen seen);

    mutable std::mutex m_mutex;
    Seen m_last;
    std::atomic<int> m_queries{0};
};

} // namespace tfs::test
