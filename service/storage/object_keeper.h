// SPDX-License-Identifier: GPL-2.0-or-later
// What finds threats, as far as it needs Storage.
#pragma once

#include <contract/tfs/backup.h>
#include <contract/tfs/event.h>

#include <functional>
#include <optional>
#include <string>

namespace tfs::service::storage {

/// A file in which something was found, as the one who found it has it.
struct FoundObject {
    /// Open for reading: the very file that was scanned. Stays the caller's. What is copied and removed is this file;
    /// `path` only tells where its name is looked for, and a name that leads to another file by now is left alone.
    int file = -1;
    std::string path; ///< absolute, bytes of the file system
    std::string detectName;
    types::EventSeverity::Type dangerLevel = types::EventSeverity::Critical;
    /// On whose behalf: the events of Storage name them.
    types::EventInitiator::Type initiator = types::EventInitiator::Product;
    std::optional<EventUser> user;
    ulk::types::string16_t taskName;
    ulk::types::string16_t taskType;
    std::uint64_t taskId = 0;
    std::uint64_t runId = 0; ///< of the task's run; 0 where there is none
    /// The name is removed with the rights of this user, who may only have it removed where he could remove it himself;
    /// empty: with the service's.
    std::optional<std::uint32_t> rightsOf;
    /// Looked at several times a second while the file is copied; true gives it up with eCancelled. May be empty.
    std::function<bool()> cancelled;
};

/// Implemented by Storage; outlives tasks and the protection in real time.
class IObjectKeeper {
public:
    virtual ~IObjectKeeper() = default;
    /// Moves the file into Storage: when it returns sOk, the copy is on disk, verified, and the name is gone. Any
    /// failure leaves the file where it is: eAlreadyDone where the name was gone or led elsewhere already,
    /// eInsufficientResources where Storage or its disk is full, eReadOnlyFileSystem, eAccessDenied, eCancelled,
    /// eNotSupported for anything but a regular file, eLocked for one that changes all the while, else the code of what
    /// failed; `why` is one line for people then. With sOk, `why` is empty, or tells of other names that the file has.
    /// A further name of a file that is kept already joins it: `id` is the same again.
    /// Publishes ObjectSavedToBackup or ObjectSaveToBackupFailed. Blocking: takes the disk's time; any thread, several
    /// at once.
    virtual result_t Take(const FoundObject& object, BackupId& id, std::string& why) noexcept = 0;
};

} // namespace tfs::service::storage
