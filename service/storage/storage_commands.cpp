// SPDX-License-Identifier: GPL-2.0-or-later
// What is asked of Storage.
#include <service/storage/backup_query.h>
#include <service/storage/failure.h>
#include <service/storage/object_restorer.h>
#include <service/storage/object_taker.h>
#include <service/storage/storage_area.h>
#include <service/storage/storage_events.h>

#include <algorithm>

namespace tfs::service::storage {
namespace {

/// A remote caller's deadline is longer.
constexpr std::chrono::milliseconds CallersPatience{3000};
constexpr std::uint64_t MiB = 1u << 20;

/// What was found out before anything was tried is no failure of Storage.
bool IsFailure(result_t code) noexcept { return code != ulk::eAlreadyDone && code != ulk::eCancelled; }

bool IsOwner(const Actor& actor, const ObjectRecord& record) noexcept { return record.ownerUid == actor.user.uid; }

std::string Joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text.append(text.empty() ? "" : ", ").append(name);
    return text;
}

} // namespace

/// The service's stop gives copying up too.
FoundObject StorageArea::WithStop(const FoundObject& object) const {
    FoundObject stoppable = object;
    stoppable.cancelled = [this, cancelled = object.cancelled] { return m_stopping || (cancelled && cancelled()); };
    return stoppable;
}

result_t StorageArea::Take(const FoundObject& object, BackupId& id, std::string& why) noexcept {
    try {
        result_t code = ulk::sOk;
        bool isOverLimit = false;
        try {
            if (const std::string problem = WaitUntilOpen(std::nullopt, object.cancelled); !problem.empty())
                throw Failure(object.cancelled && object.cancelled() ? ulk::eCancelled : ulk::eNotReady, problem);
            const Taken taken = TakeObject(m_vault, WithStop(object), Settings().sizeLimitMb * MiB, m_clock.Now());
            id = taken.record.id;
            why =
                taken.otherNames == 0 ? "" : "other names that the file still has: " + std::to_string(taken.otherNames);
            TellTaken(object, taken);
            return ulk::sOk;
        } catch (const std::exception& e) {
            const Failure failure = Failure::Of(e);
            code = failure.Code();
            why = failure.what();
            isOverLimit = dynamic_cast<const LimitReached*>(&e) != nullptr;
        }
        if (IsFailure(code))
            TellNotTaken(object, why, isOverLimit);
        return code;
    } catch (const std::exception&) { // memory is short, for a second time
        return ulk::eOutOfMemory;
    }
}

void StorageArea::TellTaken(const FoundObject& object, const Taken& taken) {
    if (!taken.problem.empty())
        TraceProblem(taken.problem);
    if (!taken.isNew)
        return;
    if (!taken.replaced.empty())
        TellRemoved(taken.replaced, {});
    const std::string information = taken.otherNames == 0
                                        ? std::string()
                                        : "other names that the file still has: " + std::to_string(taken.otherNames);
    m_publisher.Publish(MakeSaved(taken.record, object, information));
    m_clock.Wake();
}

void StorageArea::TellNotTaken(const FoundObject& object, const std::string& why, bool isOverLimit) {
    ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "Not moved into Storage: " << object.path << ": " << why;
    m_publisher.Publish(MakeSaveFailed(object, why));
    if (isOverLimit && !m_limitTold.exchange(true))
        m_publisher.Publish(MakeLimitReached(Settings().sizeLimitMb));
}

result_t StorageArea::Query(const Actor& actor, const QueryFilter& filter, BackupItems& items) {
    BackupQuery query;
    if (const result_t result = query.Read(filter); !ULK_SUCCEEDED(result))
        return result;
    if (!WaitUntilOpen(CallersPatience).empty())
        return ulk::eNotReady;
    const bool seesAll = actor.seesAll || actor.isAdministrator;
    BackupItems found;
    m_vault.Table().Select([&](const ObjectRecord& record) {
        if (query.Passes(record) && (seesAll || IsOwner(actor, record)))
            found.push_back(record.Info());
        return false; // no copy of the whole record is wanted
    });
    items = std::move(found);
    return ulk::sOk;
}

result_t StorageArea::Remove(const Actor& actor, const QueryFilter& filter) {
    BackupQuery query;
    if (const result_t result = query.Read(filter); !ULK_SUCCEEDED(result))
        return result;
    if (!WaitUntilOpen(CallersPatience).empty())
        return ulk::eNotReady;
    const auto passes = [&query](const ObjectRecord& record) { return query.Passes(record); };
    const auto foreign = [&](const ObjectRecord& record) { return passes(record) && !IsOwner(actor, record); };
    if (!actor.isAdministrator && !m_vault.Table().Select(foreign).empty())
        return ulk::eAccessDenied;
    std::size_t inUse = 0;
    const std::vector<ObjectRecord> claimed = m_vault.Table().Claim(
        [&](const ObjectRecord& record) { return passes(record) && (actor.isAdministrator || IsOwner(actor, record)); },
        inUse);
    if (!claimed.empty()) {
        try {
            m_vault.Leave(claimed);
        } catch (const std::exception& e) {
            std::vector<BackupId> ids;
            for (const ObjectRecord& record : claimed)
                ids.push_back(record.id);
            m_vault.Table().Release(ids);
            TraceProblem(e.what());
            return Failure::Of(e).Code();
        }
        TellRemoved(claimed, actor.user);
    }
    return inUse == 0 ? ulk::sOk : ulk::eLocked;
}

result_t StorageArea::Restore(const Actor& actor, BackupId id) {
    if (!WaitUntilOpen(CallersPatience).empty())
        return ulk::eNotReady;
    std::size_t inUse = 0;
    const auto claimed = m_vault.Table().Claim([id](const ObjectRecord& record) { return record.id == id; }, inUse);
    if (claimed.empty())
        return inUse == 0 ? ulk::eNotFound : ulk::eLocked;
    const BackupId ids[] = {id};
    try {
        RestoreClaimed(actor, claimed.front());
        return ulk::sOk;
    } catch (const std::exception& e) {
        m_vault.Table().Release(ids);
        const Failure failure = Failure::Of(e);
        ULK_TRACE(m_tracer.Get(), ulk::level::Failure)
            << "Not restored from Storage: " << claimed.front().path << ": " << failure.what();
        return failure.Code();
    }
}

void StorageArea::RestoreClaimed(const Actor& actor, const ObjectRecord& record) {
    if (!actor.isAdministrator && !IsOwner(actor, record))
        throw Failure(ulk::eAccessDenied, "it was another user's");
    const std::optional<std::uint32_t> user =
        actor.isAdministrator ? std::nullopt : std::optional<std::uint32_t>(actor.user.uid);
    const std::vector<std::string> left =
        RestoreObject(m_vault.Blobs(), record, user, [this] { return m_stopping.load(); });
    m_publisher.Publish(
        MakeRestored(record, actor.user, left.empty() ? "" : "names that couldn't be put back: " + Joined(left)));
    try {
        m_vault.Leave({record});
        TellRemoved({record}, actor.user);
    } catch (const std::exception& e) { // it is where it was, and in Storage too
        const BackupId ids[] = {record.id};
        m_vault.Table().Release(ids);
        TraceProblem(e.what());
    }
}

} // namespace tfs::service::storage
