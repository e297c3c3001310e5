// SPDX-License-Identifier: GPL-2.0-or-later
// The first signatures: those that come with the product, where there are no others yet.
#pragma once

#include <foundation/result.h>

#include <cstddef>
#include <string>

namespace tfs::service::app {

/// Copies the files of `seedFolder` into `basesFolder` when that holds no signature file. Each file appears whole or
/// not at all, and a copy that was cut short is begun anew. `copied` is the number of files. What is no regular file,
/// and hidden files, are passed over.
result_t SeedBases(const std::string& seedFolder, const std::string& basesFolder, std::size_t& copied) noexcept;

} // namespace tfs::service::app
