// SPDX-License-Identifier: GPL-2.0-or-later
// Names of files on a terminal: one line of plain characters, whatever the name.
#include <control/escape.h>
#include <tests/fuzz/input.h>

#include <algorithm>

void tfs::fuzz::Run(std::string_view input) {
    const std::string escaped = control::EscapeForTerminal(input);
    Require(control::IsUtf8(escaped));
    Require(std::none_of(escaped.begin(), escaped.end(), [](char c) { return (c >= 0 && c < 0x20) || c == 0x7F; }));
    Require(control::ToHex(input).size() == 2 * input.size());
}
