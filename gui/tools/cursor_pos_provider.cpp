// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/tools/cursor_pos_provider.h>

#include <QtGui/QCursor>

namespace tfs::tools {

QPoint CursorPosProvider::cursorPos() { return QCursor::pos(); }

} // namespace tfs::tools
