// SPDX-License-Identifier: GPL-2.0-or-later
// The way of a file into Storage.
#pragma once

#include <service/storage/failure.h>
#include <service/storage/object_keeper.h>
#include <service/storage/vault.h>

#include <string>
#include <vector>

namespace tfs::service::storage {

struct Taken {
    ObjectRecord record;
    std::vector<ObjectRecord> replaced;
    std::uint64_t otherNames = 0; ///< that the file still has
    bool isNew = false;           ///< false: a further name of an object that is kept already
    std::string problem;          ///< for the trace; empty where all went well
};

/// The object is larger than the room that the limit leaves. eInsufficientResources, as for a full disk.
class LimitReached final : public Failure {
public:
    LimitReached() : Failure(ulk::eInsufficientResources, "the size limit of Storage is reached") {}
};

/// Copies, verifies, records, removes the name. `limit` in bytes, 0 for none; `now` in seconds since 1970. Throws
/// Failure or store::SqliteError; the file is where it was then.
Taken TakeObject(Vault& vault, const FoundObject& object, std::uint64_t limit, std::int64_t now);

} // namespace tfs::service::storage
