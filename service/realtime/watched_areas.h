// SPDX-License-Identifier: GPL-2.0-or-later
// The marks of one run of the task: what is watched, and how.
#pragma once

#include <contract/tfs/tasks.h>
#include <service/realtime/fanotify_group.h>
#include <service/realtime/file_screen.h>
#include <service/realtime/folder_marks.h>
#include <service/realtime/mark_plan.h>
#include <service/scan/mount_watch.h>

#include <functional>
#include <string>
#include <vector>

namespace tfs::service::realtime {

/// The paths without links; those that lead nowhere are left out.
std::vector<std::string> ResolvePaths(const std::vector<std::string>& paths);

/// Used on one thread; the groups and the screen outlive it.
class WatchedAreas {
public:
    /// `areas` and `watchedFolders` are paths without links.
    WatchedAreas(FanotifyGroup& deciding, FanotifyGroup& telling, FileScreen& screen, types::FileScanMode::Type mode,
                 std::vector<std::string> areas, std::vector<std::string> watchedFolders);

    /// Marks all that is mounted now. False where nothing could be marked; Problems says why, one line for each area.
    bool Set();
    const std::vector<std::string>& Problems() const noexcept { return m_problems; }
    /// Nobody waits any more; that files were written goes on being told.
    void DropDeciding() noexcept { m_deciding.DropMarks(); }
    void DropAll() noexcept;
    /// No file is spared the gate for having been clean.
    void ForgetClean();
    /// Ready for reading when Follow has something to do.
    int Descriptor() const noexcept { return m_folders.Descriptor(); }
    /// Follows what was mounted or made since; `found` is called with the name of each file that came along.
    void Follow(const std::function<void(const std::string& file)>& found);

private:
    bool Apply();
    bool Mark(const std::vector<std::string>& areas, const EventMasks& masks, std::set<dev_t>& devices);

    FanotifyGroup& m_deciding;
    FanotifyGroup& m_telling;
    FileScreen& m_screen;
    const types::FileScanMode::Type m_mode;
    const std::vector<std::string> m_areas;
    const std::vector<std::string> m_watchedFolders;
    FolderMarks m_folders;
    scan::MountWatch m_mounts;
    std::vector<std::string> m_problems;
};

} // namespace tfs::service::realtime
