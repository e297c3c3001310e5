// SPDX-License-Identifier: GPL-2.0-or-later
// Splits POSIX locale names.
#pragma once

#include <foundation/result.h>

#include <string>

namespace tfs::localization {

/// Splits a name such as "en_US.UTF-8": `territory` becomes "en_US" and `language` "en", or "zh-hans" for any Chinese.
/// Whatever follows the first character that is neither a letter nor an underscore is ignored. A name of another shape,
/// or null, gives eInvalidArgument and leaves both outputs as they were.
result_t ParseLocale(const char* text, std::string& language, std::string& territory);

} // namespace tfs::localization
