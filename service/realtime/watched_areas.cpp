// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/realtime/watched_areas.h>
#include <service/tasks/local_mounts.h>

#include <cstdlib>
#include <memory>
#include <sys/fanotify.h>
#include <sys/stat.h>
#include <system_error>
#include <utility>

namespace tfs::service::realtime {
namespace {

using types::FileScanMode;

EventMasks MasksOfAreas(FileScanMode::Type mode) noexcept {
    return {static_cast<std::uint64_t>(mode == FileScanMode::SmartCheck ? FAN_OPEN_EXEC_PERM : FAN_OPEN_PERM),
            FAN_CLOSE_WRITE};
}

} // namespace

std::vector<std::string> ResolvePaths(const std::vector<std::string>& paths) {
    std::vector<std::string> resolved;
    for (const std::string& path : paths) {
        const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), std::free);
        if (real)
            resolved.emplace_back(real.get());
    }
    return resolved;
}

WatchedAreas::WatchedAreas(FanotifyGroup& deciding, FanotifyGroup& telling, FileScreen& screen, FileScanMode::Type mode,
                           std::vector<std::string> areas, std::vector<std::string> watchedFolders)
    : m_deciding(deciding), m_telling(telling), m_screen(screen), m_mode(mode), m_areas(std::move(areas)),
      m_watchedFolders(std::move(watchedFolders)), m_folders(deciding, telling, screen) {}

bool WatchedAreas::Mark(const std::vector<std::string>& areas, const EventMasks& masks, std::set<dev_t>& devices) {
    const std::string table = scan::ReadMountTable();
    const MarkPlan plan = PlanMarks(tasks::WithLocalMounts(areas, table), scan::ParseMountTable(table));
    m_problems.insert(m_problems.end(), plan.problems.begin(), plan.problems.end());
    bool any = false;
    for (const PlannedMark& mark : plan.marks) {
        int error = 0;
        struct stat status {};
        if (!mark.wholeFileSystem) {
            error = m_folders.Add(mark.path, masks);
        } else {
            if (::stat(mark.path.c_str(), &status) == 0)
                devices.insert(status.st_dev);
            error = m_deciding.Mark(FanotifyGroup::Reach::FileSystem, masks.deciding, mark.path);
            if (error == 0 && masks.telling != 0)
                error = m_telling.Mark(FanotifyGroup::Reach::FileSystem, masks.telling, mark.path);
        }
        any = any || error == 0;
        if (error != 0)
            m_problems.push_back(mark.path + " can't be watched: " + std::generic_category().message(error));
    }
    return any;
}

bool WatchedAreas::Apply() {
    m_problems.clear();
    std::set<dev_t> devices;
    const bool any = Mark(m_areas, MasksOfAreas(m_mode), devices);
    if (m_mode == FileScanMode::SmartCheck)
        (void)Mark(m_watchedFolders, {FAN_OPEN_PERM, 0}, devices);
    m_screen.SetFileSystems(std::move(devices));
    return any;
}

bool WatchedAreas::Set() {
    m_folders.Clear();
    (void)m_mounts.Changed();
    return Apply();
}

void WatchedAreas::DropAll() noexcept {
    m_deciding.DropMarks();
    m_telling.DropMarks();
}

void WatchedAreas::ForgetClean() {
    m_deciding.DropFileMarks();
    m_folders.MarkAgain();
}

void WatchedAreas::Follow(const std::function<void(const std::string& file)>& found) {
    m_folders.Follow(found);
    if (m_mounts.Changed())
        (void)Apply(); // what is marked already stays so
}

} // namespace tfs::service::realtime
