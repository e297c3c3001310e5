// SPDX-License-Identifier: GPL-2.0-or-later
// File names on their way out: they are bytes, and a hostile one may hold anything.
#pragma once

#include <string>
#include <string_view>

namespace tfs::control {

/// Text that is safe on a terminal and stays on its line: control characters, marks that change the direction of
/// writing and line separators become \n, \t, \xNN or \u{N}; a byte that isn't UTF-8 becomes \xNN, a backslash two.
std::string EscapeForTerminal(std::string_view bytes);

/// True for well-formed UTF-8: no overlong form, no surrogate, nothing above U+10FFFF.
bool IsUtf8(std::string_view bytes) noexcept;

/// Two lower-case hexadecimal digits a byte.
std::string ToHex(std::string_view bytes);

} // namespace tfs::control
