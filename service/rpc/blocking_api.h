// SPDX-License-Identifier: GPL-2.0-or-later
// What the remote interfaces may ask of the service's areas that can take the disk's time.
#pragma once

#include <contract/tfs/event_query.h>
#include <contract/tfs/settings.h>
#include <service/rpc/backup_api.h>
#include <service/rpc/service_api.h>
#include <service/store/event_page.h>

#include <vector>

namespace tfs::service::rpc {

/// As IServiceApi, but called on a helper thread of the server, one call at a time for each connection: may touch the
/// disk. Throws nothing; every failure is a code.
class IBlockingApi {
public:
    virtual ~IBlockingApi() = default;

    /// As IAppSettingsHandler::SetAppSettings.
    virtual result_t SetAppSettings(const Caller& caller, const tfs::settings::SettingsChangeList& changes,
                                    bool acceptTsn,
                                    std::vector<tfs::settings::ValidationMessage>& messages) noexcept = 0;

    /// As ITfsTaskManager's; return when the change is stored.
    virtual result_t SetTaskSettings(const Caller& caller, const std::u16string& idOrName,
                                     const tfs::settings::SettingsChangeList& changes, bool toDefault,
                                     std::vector<tfs::settings::ValidationMessage>& messages) noexcept = 0;
    virtual result_t SetSchedule(const Caller& caller, const std::u16string& idOrName,
                                 const tfs::settings::SettingsChangeList& changes, bool toDefault,
                                 std::vector<tfs::settings::ValidationMessage>& messages) noexcept = 0;

    virtual result_t GetEventCount(const Caller& caller, std::uint64_t& count) noexcept = 0;
    virtual result_t GetOldestEvent(const Caller& caller, Event& event) noexcept = 0;
    virtual result_t GetEvent(const Caller& caller, Event::IdType id, Event& event) noexcept = 0;
    /// The page of an answer that lies behind `cursor`: at most query.limit events of about `byteLimit` bytes together,
    /// and fewer where they take long to find. The cursor moves on with each page.
    virtual result_t QueryEvents(const Caller& caller, const EventQuery& query, store::EventCursor cursor,
                                 std::size_t byteLimit, store::EventPage& page) noexcept = 0;
};

/// Both sides that may block, for calls to take the one that they need. Outlives whoever has one.
class BlockingApis {
public:
    /// `backup` may be null: nobody can ask for Storage then.
    BlockingApis(IBlockingApi& service, IBackupApi* backup = nullptr) noexcept : m_service(service), m_backup(backup) {}
    bool HasBackup() const noexcept { return m_backup != nullptr; }
    operator IBlockingApi&() const noexcept { return m_service; }
    operator IBackupApi&() const noexcept { return *m_backup; }

private:
    IBlockingApi& m_service;
    IBackupApi* m_backup;
};

} // namespace tfs::service::rpc
