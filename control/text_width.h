// SPDX-License-Identifier: GPL-2.0-or-later
// Room that a text takes on a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tfs::control {

/// Columns of a line that EscapeForTerminal has made safe: wide characters take two, combining marks none.
std::size_t TextWidth(std::string_view line);

/// The line, or as much of its beginning as fits into so many columns with "..." behind it; nothing where not even
/// those fit.
std::string Shortened(const std::string& line, std::size_t columns);

} // namespace tfs::control
