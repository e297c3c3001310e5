// SPDX-License-Identifier: GPL-2.0-or-later
// Which of the files that the kernel tells of are to be looked at.
#pragma once

#include <foundation/sync.h>
#include <service/realtime/fanotify_group.h>
#include <service/realtime/known_programs.h>
#include <service/scan/exclusions.h>

#include <cstdint>
#include <ctime>
#include <set>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace tfs::service::realtime {

/// A file that is to be looked at, as it was when its event came.
struct SeenFile {
    std::string path; ///< absolute, bytes of the file system; how it was reached
    struct stat status {};
    timespec takenAt{};
};

/// Made for one run of the task. Any thread. Nothing here waits for a file, a disk or another machine.
class FileScreen {
public:
    struct Options {
        std::vector<std::string> areas; ///< absolute, without links
        std::vector<std::string> excludedPaths;
        std::vector<std::string> excludedMasks;
        std::vector<std::string> programs; ///< what they open isn't looked at: our own and those that the user names
        std::uint64_t maxFileSize = 0;     ///< bytes; larger ones aren't looked at; 0: no limit
    };
    explicit FileScreen(const Options& options);

    /// All files of these file systems lie in the areas, whatever name they are reached by.
    void SetFileSystems(std::set<dev_t> devices) ULK_EXCLUDES(m_lock);
    /// By its name alone.
    bool Covers(const std::string& path) const;
    bool IsExcluded(const std::string& path) const { return m_exclusions.ExcludesAnyOf(path); }
    /// False where the file is none of this task's business.
    bool Wants(const AccessEvent& event, SeenFile& file) ULK_EXCLUDES(m_lock);
    /// The same for a file that was opened here.
    bool Wants(int file, SeenFile& seen) ULK_EXCLUDES(m_lock);

private:
    const std::vector<std::string> m_areas;
    const scan::Exclusions m_exclusions;
    const std::uint64_t m_maxFileSize;
    const pid_t m_self;
    KnownPrograms m_programs;
    ulk::Mutex m_lock;
    std::set<dev_t> m_devices ULK_GUARDED_BY(m_lock);
};

} // namespace tfs::service::realtime
