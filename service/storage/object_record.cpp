// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/storage/object_record.h>

namespace tfs::service::storage {

FileIdentity FileIdentity::Of(const struct stat& status) noexcept {
    return {status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size), MomentOf(status.st_mtim),
            MomentOf(status.st_ctim)};
}

ObjectRecord ObjectRecord::Of(const BlobHeader& header, const Digest& digest) {
    ObjectRecord record;
    record.id = header.id;
    record.path = header.path;
    record.detectName = header.detectName;
    record.dangerLevel = header.dangerLevel;
    record.addedTime = header.addedTime;
    record.ownerUid = header.traits.uid;
    record.identity = header.identity;
    record.digest = digest;
    return record;
}

BackupItemInfo ObjectRecord::Info() const {
    constexpr std::int64_t TicksPerSecond = 10000000;
    constexpr std::int64_t UnixEpoch = 116444736000000000;
    BackupItemInfo info;
    info.id = id;
    info.objectName = ulk::text::ToUtf16Lossy(path);
    info.dangerLevel = dangerLevel;
    info.detectName = detectName;
    info.addedTime.ticks = addedTime * TicksPerSecond + UnixEpoch;
    info.fileSize = identity.size;
    return info;
}

} // namespace tfs::service::storage
