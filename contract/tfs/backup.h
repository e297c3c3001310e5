// SPDX-License-Identifier: GPL-2.0-or-later
// Objects in Storage, and the interfaces that read and change it.
#pragma once

#include <contract/tfs/event_query.h>
#include <contract/tfs/interface_identifiers.h>
#include <contract/tfs/variant.h>
#include <foundation/object.h>

#include <cstdint>
#include <string>

namespace tfs {

using BackupId = std::uint64_t;

/// Why an object can't be put back, beside the codes that all know.
inline constexpr result_t eReadOnlyFileSystem = ulk::MakeResult(0xA0000003u);
inline constexpr result_t eNotAbsolutePath = ulk::MakeResult(0xA0000004u);

/// One object that Storage holds.
struct BackupItemInfo {
    BackupId id = 0;
    ulk::types::string16_t objectName; ///< full path it was taken from
    std::uint32_t dangerLevel = 0;     ///< types::DangerLevel
    std::string detectName;
    ulk::types::FileTime addedTime;
    std::uint64_t fileSize = 0; ///< bytes of the original
    friend bool operator==(const BackupItemInfo&, const BackupItemInfo&) = default;
};

using BackupItems = ulk::types::vector_t<BackupItemInfo>;

/// Conditions on objects in Storage, joined as those of EventQuery; none means all objects. Fields: "ObjectId"
/// (unsigned 64-bit, "==" and "!="), "ChildrenList" (unsigned 64-bit, "contains": the object is a container that holds
/// the object of that number).
using QueryFilter = ulk::types::vector_t<QueryClause>;

namespace settings {

struct BackupSettings {
    std::uint32_t storageDays = 30; ///< how long an object is kept; 0: without limit
    std::uint32_t sizeLimitMb = 0;  ///< MiB; 0: without limit
    friend bool operator==(const BackupSettings&, const BackupSettings&) = default;
};

} // namespace settings

class ITfstBackupManager : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = interface_identifier::BackupManager;
    /// Replaces `items` by those that pass, ascending by id; on failure it stays as it was. eInvalidArgument for a
    /// clause outside the vocabulary of QueryFilter.
    virtual result_t Query(const QueryFilter& filter, BackupItems& items) = 0;
    /// Deletes those that pass; eAccessDenied where the caller may not delete all of them, and nothing is deleted then;
    /// eLocked where one is being restored just now: the others are deleted.
    virtual result_t Remove(const QueryFilter& filter) = 0;
    /// Puts the object back where it was. eAlreadyExists where something is there already, ePathNotFound where its
    /// folder is missing, eReadOnlyFileSystem, eNotAbsolutePath, eNotFound for an unknown id, eAccessDenied, eLocked
    /// where somebody is restoring or removing it just now, eFileNotFound where its bytes are gone from Storage,
    /// eInvalidState where they aren't what was saved. An object that was put back leaves Storage.
    virtual result_t Restore(BackupId id) = 0;

protected:
    ~ITfstBackupManager() = default;
};

class ITfsBackupConfigurator : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = interface_identifier::BackupConfigurator;
    virtual result_t GetSettings(settings::BackupSettings& backupSettings) = 0;

protected:
    ~ITfsBackupConfigurator() = default;
};

} // namespace tfs
