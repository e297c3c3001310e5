// SPDX-License-Identifier: GPL-2.0-or-later
// The entry numbers by which code refers to texts, named after the rows' keys.
#pragma once

#include <cstdint>

namespace tfs::localization::entry {

#define X(number, key, ...) inline constexpr std::uint32_t key = number;
#include <tfs_common/catalogue_rows.inc>
#undef X

} // namespace tfs::localization::entry
