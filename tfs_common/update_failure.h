// SPDX-License-Identifier: GPL-2.0-or-later
// How a failed update of settings is told.
#pragma once

#include <foundation/result.h>

#include <exception>
#include <string>

namespace tfs::tools {

struct UpdateFailure {
    result_t code;
    std::string text; ///< "Cannot update settings: " and the exception's text, or "Unexpected error" where it has none
};

/// The code of a ulk::ResultCodeException, eOutOfMemory for std::bad_alloc, else eUnexpected. `failure` isn't null.
UpdateFailure DescribeUpdateFailure(const std::exception_ptr& failure);

} // namespace tfs::tools
