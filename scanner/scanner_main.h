// SPDX-License-Identifier: GPL-2.0-or-later
// The program from its arguments to its end.
#pragma once

namespace tfs::scanner {

/// Returns the exit code: 0 when the service ended the scanner, 1 when it couldn't start. Throws std::exception.
int ScannerMain(int argc, char** argv);

} // namespace tfs::scanner
