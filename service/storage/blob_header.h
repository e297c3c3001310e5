// SPDX-License-Identifier: GPL-2.0-or-later
// The header of an object's bytes as a document.
#pragma once

#include <service/storage/object_record.h>

#include <span>
#include <vector>

namespace tfs::service::storage {

std::vector<std::uint8_t> FormatHeader(const BlobHeader& header);
/// Throws Failure, eInvalidState, for anything but such a document.
BlobHeader ParseHeader(std::span<const std::uint8_t> document);

} // namespace tfs::service::storage
