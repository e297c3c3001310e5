// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <foundation/objclient.h>
#include <gui/backup_manager/backup_actions.h>
#include <gui/common/application.h>
#include <gui/common/exception_text.h>
#include <tfs_common/overview/overview.h>

#include <string>
#include <utility>

namespace tfs::gui {
namespace {

constexpr char16_t ObjectIdField[] = u"ObjectId";
constexpr char16_t ChildrenListField[] = u"ChildrenList";
constexpr result_t FillFailed = 1;

ulk::ITracer* Tracer() noexcept { return application::GetTracer(); }

/// Runs `body`. What it throws is traced behind `what` and becomes `afterException`.
template <class Body>
result_t Guarded(const std::string& what, Body body, result_t afterException = ulk::eUnspecified) {
    try {
        return body();
    } catch (const std::exception& e) {
        ULK_TRACE(Tracer(), ulk::level::Failure) << what << ": " << ExceptionText(e);
        return afterException;
    }
}

/// The same with the service's manager of Storage.
template <class Body>
result_t WithManager(ulk::IServiceLocator* remoteSl, const std::string& what, Body body) {
    return Guarded(what, [&]() -> result_t {
        ulk::Ptr<ITfstBackupManager> backupManager;
        const result_t found = ULK_CHECK_TRACE(Tracer(), ulk::GetInterface(remoteSl, backupManager.Ref()),
                                               "Cannot get tfs.ITfstBackupManager");
        return ULK_SUCCEEDED(found) ? body(backupManager.Get()) : found;
    });
}

QueryClause IdClause(const char16_t* field, const char16_t* operation, BackupId id, const char16_t* logic = u"AND") {
    return {field, operation, id, logic};
}

} // namespace

result_t BackupActions::Query(ulk::IServiceLocator* remoteSl, const tfs::QueryFilter& filter,
                              tfs::BackupItems& backupItems) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    return WithManager(remoteSl, "Query cannot get backup items list", [&](ITfstBackupManager* backupManager) {
        const result_t result =
            ULK_CHECK_TRACE(Tracer(), backupManager->Query(filter, backupItems), "Failed to get backup items");
        if (ULK_SUCCEEDED(result)) {
            ULK_TRACE(Tracer(), ulk::level::Detail) << "qb returned: " << backupItems.size();
        }
        return result;
    });
}

result_t BackupActions::Query(ulk::IServiceLocator* remoteSl, tfs::BackupItems& backupItems) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    return Query(remoteSl, QueryFilter(), backupItems);
}

result_t BackupActions::Query(ulk::IServiceLocator* remoteSl, tfs::BackupId id, tfs::BackupItemInfo& backupItem) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    return Guarded("Query cannot get backup items list", [&]() -> result_t {
        BackupItems backupItems;
        const QueryFilter exactFilter{IdClause(ObjectIdField, u"==", id)};
        result_t result = ULK_CHECK_TRACE(Tracer(), Query(remoteSl, exactFilter, backupItems), "");
        if (ULK_SUCCEEDED(result) && backupItems.empty()) {
            const QueryFilter parentFilter{IdClause(ChildrenListField, u"contains", id)};
            result = ULK_CHECK_TRACE(Tracer(), Query(remoteSl, parentFilter, backupItems), "");
        }
        if (!ULK_SUCCEEDED(result))
            return result;
        if (!ULK_CHECK_BOOL_TRACE(Tracer(), backupItems.size() == 1, ""))
            return ulk::eNotFound;
        backupItem = std::move(backupItems.front());
        return ulk::sOk;
    });
}

result_t BackupActions::Remove(ulk::IServiceLocator* remoteSl, const std::vector<long unsigned int>& ids) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    // A filter without clauses would take everything.
    if (ids.empty())
        return ulk::sOk;
    return WithManager(remoteSl, "Remove failed to remove " + std::to_string(ids.size()) + " items from backup",
                       [&](ITfstBackupManager* backupManager) {
                           QueryFilter filter;
                           filter.reserve(ids.size());
                           for (const BackupId id : ids)
                               filter.push_back(IdClause(ObjectIdField, u"==", id, u"OR"));
                           return ULK_CHECK_TRACE(Tracer(), backupManager->Remove(filter),
                                                  "Cannot remove items from backup");
                       });
}

result_t BackupActions::RemoveAll(ulk::IServiceLocator* remoteSl) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    return WithManager(remoteSl, "RemoveAll failed to remove all backup items", [](ITfstBackupManager* backupManager) {
        return ULK_CHECK_TRACE(Tracer(), backupManager->Remove(QueryFilter()), " failed to remove all backup items");
    });
}

result_t BackupActions::Restore(ulk::IServiceLocator* remoteSl, tfs::BackupId id) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    return WithManager(remoteSl, "Restore failed to restore backup items", [id](ITfstBackupManager* backupManager) {
        return ULK_CHECK_TRACE(Tracer(), backupManager->Restore(id), " failed to restore backup items");
    });
}

result_t BackupActions::GetSettings(ulk::IServiceLocator* remoteSl, tfs::settings::BackupSettings& backupSettings) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    return Guarded("GetSettings", [&]() -> result_t {
        ulk::Ptr<ITfsBackupConfigurator> backupConfigurator;
        const result_t found = ULK_CHECK_TRACE(Tracer(), ulk::GetInterface(remoteSl, backupConfigurator.Ref()),
                                               "Cannot get ITfsBackupConfigurator interface");
        if (!ULK_SUCCEEDED(found))
            return found;
        return ULK_CHECK_TRACE(Tracer(), backupConfigurator->GetSettings(backupSettings), "Cannot get backup settings");
    });
}

result_t BackupActions::GetBackupFillPercentage(ulk::IServiceLocator* remoteSl, uint32_t& percentage) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    percentage = 0;
    return Guarded(
        "GetBackupFillPercentage failed",
        [&]() -> result_t {
            tfs::settings::BackupSettings backupSettings;
            result_t result =
                ULK_CHECK_TRACE(Tracer(), GetSettings(remoteSl, backupSettings), "failed to get backup settings");
            if (!ULK_SUCCEEDED(result))
                return result;
            BackupItems backupItems;
            result = ULK_CHECK_TRACE(Tracer(), Query(remoteSl, backupItems), "failed to get backup items info");
            if (!ULK_SUCCEEDED(result))
                return result;
            percentage = overview::StorageFillPercentage(backupItems, backupSettings);
            return ulk::sOk;
        },
        FillFailed);
}

} // namespace tfs::gui
