// SPDX-License-Identifier: GPL-2.0-or-later
// Exceptions at the boundary of a slot or thread body.
#pragma once

#include <exception>
#include <string>

namespace tfs::gui {

/// Name, message and result code of an exception in one line; never throws but for std::bad_alloc.
std::string ExceptionText(const std::exception& exception);

/// For a catch-all: writes `where` and the exception being handled to the trace at level 300.
void TraceCurrentException(const char* where) noexcept;

} // namespace tfs::gui

/// Ends a try block at a boundary: everything is traced at level 300 and swallowed.
#define GUI_CATCH_ALL                                                                                                  \
    catch (...) {                                                                                                      \
        ::tfs::gui::TraceCurrentException(__PRETTY_FUNCTION__);                                                        \
    }
