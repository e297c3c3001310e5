// SPDX-License-Identifier: GPL-2.0-or-later
// The terminal that shows the answers, where there is one.
#pragma once

#include <cstddef>

namespace tfs::control {

class ITerminal {
public:
    virtual ~ITerminal() = default;
    /// Of a line, at this moment: windows are resized.
    virtual std::size_t Columns() = 0;
};

/// Null where standard output is no terminal on which a line can be written again. Lives as long as the process.
ITerminal* StandardTerminal();

} // namespace tfs::control
