// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/user_rights.h>
#include <service/storage/blob_file.h>
#include <service/storage/failure.h>
#include <service/storage/object_taker.h>
#include <service/storage/safe_path.h>

#include <cerrno>
#include <fcntl.h>
#include <optional>

namespace tfs::service::storage {
namespace {

/// A file that is written all the while can't be copied as it is at one moment.
constexpr int MostCopies = 3;

FileIdentity IdentityOf(int file) {
    struct stat status {};
    if (::fstat(file, &status) != 0)
        throw Failure::OfErrno(errno, "the file can't be looked at");
    if (!S_ISREG(status.st_mode))
        throw Failure(ulk::eNotSupported, "only a file can be moved into Storage");
    return FileIdentity::Of(status);
}

/// Does `work` with the rights on whose behalf the object is taken.
template <class Work>
void AsTaker(const FoundObject& object, Work work) {
    if (const int error = scan::RunWithRights(object.rightsOf, work); error != 0)
        throw Failure::OfErrno(error, "the user's rights can't be had");
}

FolderPlace PlaceOf(const FoundObject& object, const FileIdentity& identity) {
    std::optional<FolderPlace> place;
    result_t denied = ulk::sOk;
    AsTaker(object, [&] { place = FindPlace(object.file, object.path, identity, denied); });
    if (!place)
        throw denied == ulk::sOk ? Failure(ulk::eAlreadyDone, "the file is gone, or another one has its name")
                                 : Failure(denied, "its folder can't be reached");
    return std::move(*place);
}

void RemoveName(const FoundObject& object, const FolderPlace& place, const FileIdentity& identity) {
    if (!IdentityOf(object.file).HasSameContent(identity))
        throw Failure(ulk::eLocked, "the file was changed while it was copied");
    bool isRemoved = false;
    AsTaker(object, [&] { isRemoved = place.RemoveIf(identity); });
    if (!isRemoved)
        throw Failure(ulk::eAlreadyDone, "the file is gone, or another one has its name");
    place.Sync();
}

/// Room under the limit, given back with it.
class Reservation {
public:
    Reservation(ObjectTable& table, const std::string& path, std::uint64_t size, std::uint64_t limit)
        : m_table(table), m_size(size) {
        if (!table.Reserve(path, size, limit))
            throw LimitReached();
    }
    ~Reservation() { m_table.GiveBack(m_size); }
    Reservation(const Reservation&) = delete;
    Reservation& operator=(const Reservation&) = delete;

private:
    ObjectTable& m_table;
    const std::uint64_t m_size;
};

/// Takes the object out again unless it is told that it stays.
class Entry {
public:
    Entry(Vault& vault, BackupId id) : m_vault(vault), m_id(id) {}
    ~Entry() {
        if (!m_stays)
            m_vault.Withdraw(m_id);
    }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;
    void Stay() noexcept { m_stays = true; }

private:
    Vault& m_vault;
    const BackupId m_id;
    bool m_stays = false;
};

/// Read back from the disk as far as the system lets go of what it remembers.
void Verify(int blob, const Digest& digest) {
    if (::fsync(blob) != 0)
        throw Failure::OfErrno(errno, "Storage can't be written");
    ::posix_fadvise(blob, 0, 0, POSIX_FADV_DONTNEED);
    BlobReader reader(blob);
    if (reader.ReadParts([](std::uint64_t, std::span<const std::byte>) {}) != digest)
        throw Failure(ulk::eInvalidState, "the copy in Storage isn't what was written");
}

/// The committed copy's record.
ObjectRecord Copy(Vault& vault, const FoundObject& object, BlobHeader& header) {
    for (int copies = 1;; ++copies) {
        struct stat status {};
        if (::fstat(object.file, &status) != 0)
            throw Failure::OfErrno(errno, "the file can't be looked at");
        header.identity = FileIdentity::Of(status);
        header.traits = TraitsOf(object.file, status);
        constexpr std::uint64_t BlockSize = 512;
        if (!vault.Blobs().HasRoom(static_cast<std::uint64_t>(status.st_blocks) * BlockSize))
            throw Failure(ulk::eInsufficientResources, "the disk of Storage is full");
        const scanner::Descriptor blob = vault.Blobs().Begin(header.id);
        try {
            const Digest digest = WriteBlob(blob.Get(), header, object.file, object.cancelled);
            if (IdentityOf(object.file).HasSameContent(header.identity)) {
                Verify(blob.Get(), digest);
                vault.Blobs().Commit(header.id, blob.Get());
                return ObjectRecord::Of(header, digest);
            }
        } catch (const Failure& failure) {
            if (failure.Code() != ulk::eLocked)
                throw;
        }
        vault.Blobs().Remove(header.id);
        if (copies == MostCopies)
            throw Failure(ulk::eLocked, "the file is being changed all the while");
    }
}

/// This name may be the last that leads to the bytes anywhere but in Storage.
bool IsKeptWhole(const Vault& vault, const ObjectRecord& record) {
    try {
        Verify(vault.Blobs().Read(record.id).Get(), record.digest);
        return true;
    } catch (const Failure&) {
        return false;
    }
}

/// A further name of a file that is kept, in which nothing has changed since. Empty where it is none.
std::optional<Taken> TakeOtherName(Vault& vault, const FoundObject& object, const FileIdentity& identity,
                                   const FolderPlace& place) {
    auto known = vault.Table().ClaimOne([&](const ObjectRecord& other) { return other.identity == identity; });
    if (!known)
        return std::nullopt;
    Taken taken;
    const BackupId ids[] = {known->id};
    if (!IsKeptWhole(vault, *known)) {
        vault.Table().Release(ids);
        return std::nullopt;
    }
    try {
        RemoveName(object, place, identity);
        struct stat status {};
        if (::fstat(object.file, &status) == 0) {
            known->identity = FileIdentity::Of(status);
            taken.otherNames = status.st_nlink;
        }
        vault.AddName(*known, place.Path());
    } catch (const store::SqliteError& e) { // the bytes are kept, and the name is told
        vault.Table().Release(ids);
        taken.problem = e.what();
    } catch (...) {
        vault.Table().Release(ids);
        throw;
    }
    taken.record = std::move(*known);
    return taken;
}

} // namespace

Taken TakeObject(Vault& vault, const FoundObject& object, std::uint64_t limit, std::int64_t now) {
    const FileIdentity identity = IdentityOf(object.file);
    const FolderPlace place = PlaceOf(object, identity);
    if (auto other = TakeOtherName(vault, object, identity, place))
        return std::move(*other);
    const Reservation room(vault.Table(), place.Path(), identity.size, limit);
    BlobHeader header;
    header.id = vault.NextId();
    header.path = place.Path();
    header.detectName = object.detectName;
    header.dangerLevel = static_cast<std::uint32_t>(object.dangerLevel);
    header.addedTime = now;
    Entry entry(vault, header.id);
    Taken taken;
    taken.isNew = true;
    taken.record = Copy(vault, object, header);
    vault.Enter(taken.record);
    RemoveName(object, place, taken.record.identity);
    entry.Stay();
    struct stat status {};
    if (::fstat(object.file, &status) == 0) {
        taken.record.identity.changed = MomentOf(status.st_ctim);
        taken.otherNames = status.st_nlink;
    }
    taken.replaced = vault.Settle(taken.record, taken.problem);
    taken.record.state = ObjectState::Kept;
    return taken;
}

} // namespace tfs::service::storage
