// SPDX-License-Identifier: GPL-2.0-or-later
// A command of a page to a task, whose failure nobody but the trace hears of.
#pragma once

#include <foundation/check.h>
#include <gui/common/application.h>
#include <gui/common/exception_text.h>

namespace tfs::gui {

/// Runs `command`, which returns a code, for a slot. A failing code or an exception is traced at level 300 behind
/// `failure`; the row moves with the service's event or not at all.
template <class Command>
void RunTaskCommand(const char* failure, Command command) noexcept {
    try {
        ULK_CHECK_THROW(command(), "");
    } catch (const std::exception& e) {
        ULK_TRACE(application::GetTracer(), ulk::level::Failure) << failure << ExceptionText(e);
    }
    GUI_CATCH_ALL
}

} // namespace tfs::gui
