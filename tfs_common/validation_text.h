// SPDX-License-Identifier: GPL-2.0-or-later
// Messages about a request for other settings, as text in the language of the process.
#pragma once

#include <contract/tfs/settings.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tfs::localization {

/// The number of the catalogue's entry with that key; empty where there is none. Any thread.
std::optional<std::uint32_t> FindEntry(std::string_view key) noexcept;

/// The catalogue's texts of the messages with their arguments filled in, a line each. Empty where one of them can't be
/// built: a key that the catalogue doesn't have, a text that takes other arguments.
std::string ValidationText(const ulk::types::vector_t<settings::ValidationMessage>& messages);

} // namespace tfs::localization
