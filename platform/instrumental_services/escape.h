// SPDX-License-Identifier: GPL-2.0-or-later
// Makes any text safe to stand in one line of a log.
#pragma once

#include <string>
#include <string_view>

namespace platform::instrumental {

/// Appends `text` with everything escaped that could begin a line, drive a terminal or reorder what is shown: control
/// characters, line separators, bidirectional controls, and bytes that aren't UTF-8. So is the backslash, by which a
/// text could pass for an escaped one. The rest stays as it is.
void AppendEscaped(std::string& out, std::string_view text);

} // namespace platform::instrumental
