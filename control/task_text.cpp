// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/escape.h>
#include <control/failure.h>
#include <control/task_text.h>

namespace tfs::control {

ulk::types::string16_t TaskText(const std::string& idOrName) {
    if (!IsUtf8(idOrName))
        throw Failure(ExitCode::NotFound, "There is no " + TaskQuoted(idOrName) + ".");
    return ulk::text::Cast<ulk::types::string16_t>(std::string_view(idOrName));
}

std::string TaskQuoted(const std::string& idOrName) { return "task \"" + EscapeForTerminal(idOrName) + "\""; }

} // namespace tfs::control
