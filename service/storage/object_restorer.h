// SPDX-License-Identifier: GPL-2.0-or-later
// The way of an object out of Storage, back to where it was.
#pragma once

#include <service/storage/blob_folder.h>
#include <service/storage/object_record.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tfs::service::storage {

/// Makes the file anew where the object was, whole or not at all and never over something that is there; with the
/// rights of `user`, empty: with the service's. Returns those of its other names that couldn't be put back. Throws
/// Failure with the codes of ITfstBackupManager::Restore.
std::vector<std::string> RestoreObject(const BlobFolder& blobs, const ObjectRecord& record,
                                       std::optional<std::uint32_t> user, const std::function<bool()>& cancelled);

} // namespace tfs::service::storage
