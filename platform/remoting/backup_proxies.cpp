// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/remoting/proxies.h>
#include <wire/backup_records.h>
#include <wire/event_records.h>

#include <iterator>
#include <utility>

namespace ulk::remoting {

struct BackupManagerProxy::Page {
    tfs::BackupItems items;
    tfs::BackupId fromId = 0; ///< of this page before it is there, then of the one behind it
    bool more = false;
};

result_t BackupManagerProxy::QueryPage(const tfs::QueryFilter& filter, Page& page) {
    return Call(
        page,
        [filter = filter, fromId = page.fromId](auto& client) {
            auto request = client.queryRequest();
            tfs::wire::WriteList(filter, request.initFilter(static_cast<capnp::uint>(filter.size())));
            request.setFromId(fromId);
            return request;
        },
        [fromId = page.fromId](auto& answer, Page& record) {
            tfs::wire::ReadList(answer.getItems(), record.items);
            record.more = answer.getMore();
            record.fromId = record.items.empty() ? fromId : record.items.back().id + 1;
        });
}

result_t BackupManagerProxy::Query(const tfs::QueryFilter& filter, tfs::BackupItems& items) {
    try {
        tfs::BackupItems all;
        Page page;
        do {
            const tfs::BackupId from = page.fromId;
            if (const result_t result = QueryPage(filter, page); !ULK_SUCCEEDED(result))
                return result;
            if (page.more && page.fromId <= from)
                return eUnexpected; // it would never end
            std::move(page.items.begin(), page.items.end(), std::back_inserter(all));
        } while (page.more);
        items = std::move(all);
        return sOk;
    } catch (...) {
        return tfs::wire::ResultFromCurrentException();
    }
}

result_t BackupManagerProxy::Remove(const tfs::QueryFilter& filter) {
    return LongCall([filter = filter](auto& client) {
        auto request = client.removeRequest();
        tfs::wire::WriteList(filter, request.initFilter(static_cast<capnp::uint>(filter.size())));
        return request;
    });
}

result_t BackupManagerProxy::Restore(tfs::BackupId id) {
    return LongCall([id](auto& client) {
        auto request = client.restoreRequest();
        request.setId(id);
        return request;
    });
}

result_t BackupConfiguratorProxy::GetSettings(tfs::settings::BackupSettings& backupSettings) {
    return Call(
        backupSettings, [](auto& client) { return client.getSettingsRequest(); },
        [](auto& answer, tfs::settings::BackupSettings& record) { tfs::wire::Read(answer.getSettings(), record); });
}

} // namespace ulk::remoting
