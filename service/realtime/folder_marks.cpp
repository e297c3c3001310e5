// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/realtime/folder_marks.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace tfs::service::realtime {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t ReadSize = 64 * 1024;

bool DeviceOf(const std::string& path, dev_t& device) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        return false;
    device = status.st_dev;
    return true;
}

} // namespace

FolderMarks::FolderMarks(FanotifyGroup& deciding, FanotifyGroup& telling, const FileScreen& screen)
    : m_deciding(deciding), m_telling(telling), m_screen(screen), m_changes(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
}

int FolderMarks::MarkOne(const std::string& folder, const EventMasks& masks) {
    constexpr std::uint32_t Watched = IN_CREATE | IN_MOVED_TO | IN_ONLYDIR | IN_DONT_FOLLOW;
    // Watched before it is looked through: what is made meanwhile is told or found.
    const int watch = ::inotify_add_watch(m_changes.Get(), folder.c_str(), Watched);
    if (watch >= 0) {
        Folder& known = m_folders[watch];
        known.path = folder;
        known.masks.deciding |= masks.deciding;
        known.masks.telling |= masks.telling;
    }
    int error = 0;
    if (masks.deciding != 0)
        error = m_deciding.Mark(FanotifyGroup::Reach::Folder, masks.deciding, folder);
    if (error == 0 && masks.telling != 0)
        error = m_telling.Mark(FanotifyGroup::Reach::Folder, masks.telling, folder);
    return error;
}

void FolderMarks::MarkTree(const std::string& folder, const EventMasks& masks, const Found& found) {
    dev_t device{};
    if (!DeviceOf(folder, device) || m_screen.IsExcluded(folder) || MarkOne(folder, masks) != 0)
        return;
    std::error_code problem;
    for (fs::directory_iterator at(folder, fs::directory_options::skip_permission_denied, problem), end;
         !problem && at != end; at.increment(problem)) {
        std::error_code ignored;
        const fs::file_type type = at->symlink_status(ignored).type();
        dev_t below{};
        if (type == fs::file_type::regular && found)
            found(at->path().native());
        else if (type == fs::file_type::directory && DeviceOf(at->path().native(), below) && below == device)
            MarkTree(at->path().native(), masks, found);
    }
}

int FolderMarks::Add(const std::string& folder, const EventMasks& masks) {
    if (const int error = MarkOne(folder, masks); error != 0)
        return error;
    m_roots.push_back({folder, masks});
    MarkTree(folder, masks, {});
    return 0;
}

void FolderMarks::Follow(const Found& found) {
    alignas(inotify_event) std::array<char, ReadSize> buffer;
    for (;;) {
        const ssize_t size = ::read(m_changes.Get(), buffer.data(), buffer.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return;
        for (ssize_t at = 0; at < size;) {
            const auto* change = reinterpret_cast<const inotify_event*>(buffer.data() + at);
            at += static_cast<ssize_t>(sizeof *change + change->len);
            if ((change->mask & IN_Q_OVERFLOW) != 0)
                WalkAgain(found);
            else if ((change->mask & IN_IGNORED) != 0)
                m_folders.erase(change->wd);
            else if (change->len != 0 &&
                     (change->mask & (IN_ISDIR | IN_MOVED_TO)) != 0) // a file made here is closed yet
                OnChange(change->wd, (change->mask & IN_ISDIR) != 0, change->name, found);
        }
    }
}

void FolderMarks::OnChange(int watch, bool isFolder, const std::string& name, const Found& found) {
    const auto parent = m_folders.find(watch);
    if (parent == m_folders.end())
        return;
    const std::string path = parent->second.path + '/' + name;
    const EventMasks masks = parent->second.masks;
    if (isFolder)
        MarkTree(path, masks, found);
    else
        found(path);
}

void FolderMarks::WalkAgain(const Found& found) {
    const std::vector<Folder> roots = m_roots;
    for (const Folder& root : roots)
        MarkTree(root.path, root.masks, found);
}

void FolderMarks::MarkAgain() {
    for (const auto& [watch, folder] : m_folders)
        if (folder.masks.deciding != 0)
            (void)m_deciding.Mark(FanotifyGroup::Reach::Folder, folder.masks.deciding, folder.path);
}

void FolderMarks::Clear() {
    m_roots.clear();
    m_folders.clear();
    m_changes.Reset(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
}

} // namespace tfs::service::realtime
