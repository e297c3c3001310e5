// SPDX-License-Identifier: GPL-2.0-or-later
// Storage, open to everybody: IBackupApi knows what its caller may see and change.
#include <service/rpc/objects.h>
#include <wire/backup_records.h>
#include <wire/event_records.h>

#include <algorithm>
#include <utility>

namespace tfs::service::rpc {
namespace {

using Schema = wire::schema::BackupManager;

/// Of one page. Small, because other calls wait while one is converted; Storage answers from memory.
constexpr std::size_t PageBytes = 512 * 1024;

struct QueryCall {
    using Params = Schema::QueryParams;
    using Results = Schema::QueryResults;

    void Read(Params::Reader params) {
        wire::ReadList(params.getFilter(), m_filter);
        m_fromId = params.getFromId();
    }
    result_t Run(IBackupApi& api, const Caller& caller) {
        const result_t result = api.QueryBackup(caller, m_filter, m_items);
        if (ULK_SUCCEEDED(result))
            CutOutPage();
        return result;
    }
    void Write(result_t code, Results::Builder results) const {
        if (!ULK_SUCCEEDED(code))
            return;
        wire::WriteList(m_items, results.initItems(static_cast<capnp::uint>(m_items.size())));
        results.setMore(m_more);
    }

private:
    /// Items are ascending by id. A page has one at least, however large it is.
    void CutOutPage() {
        const auto first = std::lower_bound(m_items.begin(), m_items.end(), m_fromId,
                                            [](const BackupItemInfo& item, BackupId id) { return item.id < id; });
        std::size_t size = 0;
        auto last = first;
        for (; last != m_items.end(); ++last) {
            size += wire::EstimateSize(*last);
            if (size > PageBytes && last != first)
                break;
        }
        m_more = last != m_items.end();
        m_items = BackupItems(std::move_iterator(first), std::move_iterator(last));
    }

    QueryFilter m_filter;
    BackupId m_fromId = 0;
    BackupItems m_items;
    bool m_more = false;
};

struct RemoveCall {
    using Params = Schema::RemoveParams;
    using Results = Schema::RemoveResults;

    void Read(Params::Reader params) { wire::ReadList(params.getFilter(), m_filter); }
    result_t Run(IBackupApi& api, const Caller& caller) { return api.RemoveFromBackup(caller, m_filter); }
    void Write(result_t, Results::Builder) const {}

private:
    QueryFilter m_filter;
};

struct RestoreCall {
    using Params = Schema::RestoreParams;
    using Results = Schema::RestoreResults;

    void Read(Params::Reader params) { m_id = params.getId(); }
    result_t Run(IBackupApi& api, const Caller& caller) { return api.RestoreFromBackup(caller, m_id); }
    void Write(result_t, Results::Builder) const {}

private:
    BackupId m_id = 0;
};

struct GetSettingsCall {
    using Params = wire::schema::BackupConfigurator::GetSettingsParams;
    using Results = wire::schema::BackupConfigurator::GetSettingsResults;

    void Read(Params::Reader) {}
    result_t Run(IBackupApi& api, const Caller&) { return api.GetBackupSettings(m_settings); }
    void Write(result_t code, Results::Builder results) const {
        if (ULK_SUCCEEDED(code))
            wire::Write(m_settings, results.initSettings());
    }

private:
    tfs::settings::BackupSettings m_settings;
};

} // namespace

std::span<const Method> BackupManagerObject::Methods() noexcept {
    static constexpr Method Table[] = {
        Method::Blocking<Schema, QueryCall>(0, "query", Privilege::Anyone),
        Method::Slow<Schema, RemoveCall>(1, "remove", Privilege::Owner),
        Method::Slow<Schema, RestoreCall>(2, "restore", Privilege::Owner),
    };
    return Table;
}

std::span<const Method> BackupConfiguratorObject::Methods() noexcept {
    static constexpr Method Table[] = {
        Method::Blocking<wire::schema::BackupConfigurator, GetSettingsCall>(0, "getSettings", Privilege::Anyone),
    };
    return Table;
}

} // namespace tfs::service::rpc
