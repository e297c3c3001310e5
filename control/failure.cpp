// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/failure.h>

namespace tfs::control {

void ThrowIfFailed(result_t result, const std::string& what) {
    if (ULK_SUCCEEDED(result))
        return;
    throw Failure(ExitCodeOf(result), what + ": " + std::string(ulk::ResultText(result)));
}

} // namespace tfs::control
