// SPDX-License-Identifier: GPL-2.0-or-later
// The names under which tasks are shown.
#pragma once

#include <gui/task_manager/task_info.h>

#include <QtCore/QString>

namespace tfs::gui {

/// Name in the list of tasks: by identifier for the fixed tasks, after the scanned paths for a temporary custom scan,
/// else the console's name for it or its own.
QString ShownTaskName(const tfs::core::TaskInfo& task);

/// Name of a task in a sentence, also for tasks that no list shows.
QString LocalizedTaskName(const tfs::core::TaskInfo& task);

/// Paths as bytes of the file system, shortened in the middle to 50 characters; what doesn't decode shows as '?'.
QString ShortenedPath(const std::string& path);

} // namespace tfs::gui
