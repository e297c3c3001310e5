// SPDX-License-Identifier: GPL-2.0-or-later
// Where marks are to be set, so that the kernel tells of the files of some areas and of as few others as it can.
// Pure, any thread.
#pragma once

#include <service/scan/mount_table.h>

#include <string>
#include <vector>

namespace tfs::service::realtime {

struct PlannedMark {
    std::string path;
    /// The file system that is mounted there, as a whole; else the folder and those below it, each by itself.
    bool wholeFileSystem = false;
    std::string device; ///< major:minor, as the mount table has it
    friend bool operator==(const PlannedMark&, const PlannedMark&) = default;
};

struct MarkPlan {
    std::vector<PlannedMark> marks;
    std::vector<std::string> problems; ///< one line for people for each area that can't be watched
    friend bool operator==(const MarkPlan&, const MarkPlan&) = default;
};

/// The areas are absolute paths without links. Only local file systems are watched: to look at a file elsewhere may
/// take as long as its server likes, and everybody would wait for it. An overlay is left out where a file system that
/// its layers lie on is watched: what is opened through it is opened there too, and to watch both would have the reader
/// of events wait for itself.
MarkPlan PlanMarks(const std::vector<std::string>& areas, const std::vector<scan::MountEntry>& mounts);

} // namespace tfs::service::realtime
