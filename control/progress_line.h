// SPDX-License-Identifier: GPL-2.0-or-later
// How far a run has come: on a terminal one line that is written again and again, elsewhere now and then a plain line.
#pragma once

#include <contract/tfs/tasks.h>
#include <control/terminal.h>

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

namespace tfs::control {

/// "1:05" or "2:01:05".
std::string DurationText(std::uint32_t seconds);
/// "42%", with the time left behind it where that is known: "42% (1:05)".
std::string ProgressText(const TaskProgress& progress);

/// Main thread.
class ProgressLine {
public:
    static constexpr std::uint32_t PlainStep = 10; ///< percent between two plain lines

    /// Both outlive the object; `terminal` may be null.
    ProgressLine(std::ostream& out, ITerminal* terminal) : m_out(out), m_terminal(terminal) {}

    /// `task` is a name that is safe on a terminal; what doesn't fit into the line is cut from it.
    void Show(const std::string& task, const TaskProgress& progress);
    /// Before anything else is written.
    void Clear();

private:
    std::ostream& m_out;
    ITerminal* const m_terminal;
    std::string m_shown; ///< what stands on the terminal's line
    std::optional<std::uint32_t> m_plainPercent;
};

} // namespace tfs::control
