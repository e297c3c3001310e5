// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/file_walker.h>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <system_error>

namespace tfs::service::scan {
namespace {

using scanner::Descriptor;

constexpr std::size_t EntryBuffer = 64 * 1024;
/// Descriptors that the walk holds at most; folders further up are opened again on the way back.
constexpr std::size_t OpenLevels = 48;
/// What one system call takes as a path, with room to spare.
constexpr std::size_t PathPiece = 3000;
constexpr int FolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

std::string ErrorText(int error) { return std::generic_category().message(error); }

int OpenFolder(int parent, const char* name) {
    const int folder = ::openat(parent, name, FolderFlags | O_NOATIME);
    return folder < 0 && errno == EPERM ? ::openat(parent, name, FolderFlags) : folder;
}

/// Without doubled and closing slashes.
std::string Normalised(const std::string& path) {
    std::string result;
    for (const char c : path)
        if (c != '/' || result.empty() || result.back() != '/')
            result += c;
    if (result.size() > 1 && result.back() == '/')
        result.pop_back();
    return result;
}

/// Opens the folder that holds the last part of an absolute path of any length, and names that part. Folders on the
/// way may be links, as in any path that a user names.
Descriptor OpenParent(const std::string& path, std::string& name) {
    const std::size_t last = path.rfind('/');
    name = path.substr(last + 1);
    if (name.empty())
        name.assign(1, '.'); // not = ".": gcc 12 warns of an overlap that isn't there
    Descriptor folder(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    for (std::size_t at = 1; folder && at < last;) {
        std::size_t end = last;
        if (end - at > PathPiece) {
            end = path.rfind('/', at + PathPiece);
            if (end == std::string::npos || end <= at) {
                errno = ENAMETOOLONG;
                return {};
            }
        }
        folder.Reset(::openat(folder.Get(), path.substr(at, end - at).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        at = end + 1;
    }
    return folder;
}

} // namespace

FileWalker::FileWalker(std::vector<std::string> excludedPaths, bool crossFileSystems, IWalkVisitor& visitor)
    : m_crossFileSystems(crossFileSystems), m_visitor(visitor), m_entries(EntryBuffer) {
    for (const std::string& path : excludedPaths)
        m_excluded.insert(Normalised(path));
}

bool FileWalker::IsExcluded(const std::string& path) const { return !m_excluded.empty() && m_excluded.contains(path); }

void FileWalker::Unreadable(int error) { m_visitor.OnUnreadable(m_path, error, ErrorText(error)); }

void FileWalker::Walk(const std::string& area) {
    if (area.empty() || area.front() != '/' || area.find('\0') != std::string::npos)
        return m_visitor.OnUnreadable(area, 0, "not an absolute path");
    m_path = Normalised(area);
    std::string above;
    for (const char c : m_path) { // an area may lie inside an excluded tree
        if (c == '/' && IsExcluded(above.empty() ? std::string(1, '/') : above))
            return;
        above += c;
    }
    if (IsExcluded(m_path))
        return;
    std::string name;
    const Descriptor parent = OpenParent(m_path, name);
    struct stat status {};
    if (!parent || ::fstatat(parent.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0)
        return Unreadable(errno);
    if (S_ISREG(status.st_mode)) {
        const FileSystemKind kind = m_fileSystems.KindOf(status.st_dev, parent.Get());
        if (kind == FileSystemKind::Virtual)
            return m_visitor.OnUnreadable(m_path, 0, "not a file on a disk");
        return m_visitor.OnFile({parent.Get(), name.c_str(), m_path, status, kind});
    }
    if (!S_ISDIR(status.st_mode)) {
        m_visitor.OnSkipped(m_path);
        return;
    }
    if (!Enter(parent.Get(), name.c_str(), true))
        return;
    while (!m_levels.empty() && m_visitor.GoOn()) {
        Level& level = m_levels.back();
        if (level.folders.empty()) {
            Leave();
            continue;
        }
        const std::string folder = std::move(level.folders.back());
        level.folders.pop_back();
        m_path.resize(level.pathLength);
        if (m_path.back() != '/')
            m_path += '/';
        m_path += folder;
        Enter(level.folder.Get(), folder.c_str(), false);
    }
    m_levels.clear();
}

bool FileWalker::Enter(int parent, const char* name, bool isArea) {
    Level level;
    level.folder.Reset(OpenFolder(parent, name));
    struct stat status {};
    if (!level.folder || ::fstat(level.folder.Get(), &status) != 0) {
        const int error = errno;
        if (error != ENOENT || isArea)
            Unreadable(error);
        return false;
    }
    level.device = status.st_dev;
    level.inode = status.st_ino;
    level.fileSystem = m_fileSystems.KindOf(status.st_dev, level.folder.Get());
    if (level.fileSystem == FileSystemKind::Virtual) {
        if (isArea)
            m_visitor.OnUnreadable(m_path, 0, "not a folder on a disk");
        return false;
    }
    if (!m_entered.insert({status.st_dev, status.st_ino}).second)
        return false;
    level.pathLength = m_path.size();
    m_levels.push_back(std::move(level));
    if (m_levels.size() > OpenLevels)
        m_levels[m_levels.size() - 1 - OpenLevels].folder.Reset();
    List(m_levels.back());
    return true;
}

void FileWalker::List(Level& level) {
    for (;;) {
        const ssize_t size = ::getdents64(level.folder.Get(), m_entries.data(), m_entries.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0 && errno != ENOENT) { // ENOENT: removed since
            const int error = errno;
            m_path.resize(level.pathLength);
            Unreadable(error);
        }
        if (size <= 0)
            return;
        for (ssize_t at = 0; at < size;) {
            const auto* entry = reinterpret_cast<const dirent64*>(m_entries.data() + at);
            at += entry->d_reclen;
            if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
                continue;
            if (!m_visitor.GoOn())
                return;
            Look(level, entry->d_name);
        }
    }
}

void FileWalker::Look(Level& level, const char* name) {
    m_path.resize(level.pathLength);
    if (m_path.back() != '/')
        m_path += '/';
    m_path += name;
    if (IsExcluded(m_path))
        return;
    struct stat status {};
    if (::fstatat(level.folder.Get(), name, &status, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0) {
        if (errno != ENOENT)
            Unreadable(errno);
        return;
    }
    const bool elsewhere = status.st_dev != level.device;
    if (elsewhere && !m_crossFileSystems)
        return;
    if (S_ISDIR(status.st_mode)) {
        level.folders.emplace_back(name);
    } else if (S_ISREG(status.st_mode)) {
        // A single file of another file system is mounted over a name: never cached, and not asked what it lies on.
        m_visitor.OnFile(
            {level.folder.Get(), name, m_path, status, elsewhere ? FileSystemKind::Unstamped : level.fileSystem});
    } else {
        m_visitor.OnSkipped(m_path);
    }
}

void FileWalker::Leave() {
    Level left = std::move(m_levels.back());
    m_levels.pop_back();
    if (m_levels.empty())
        return;
    Level& level = m_levels.back();
    if (level.folder || level.folders.empty() || Reopen(level, left.folder.Get()))
        return;
    m_path.resize(level.pathLength);
    m_visitor.OnUnreadable(m_path, 0, "moved while it was scanned");
    level.folders.clear();
}

bool FileWalker::Reopen(Level& level, int child) {
    const auto isIt = [&](const Descriptor& folder) {
        struct stat status {};
        return folder && ::fstat(folder.Get(), &status) == 0 && status.st_dev == level.device &&
               status.st_ino == level.inode;
    };
    // The child's own way up, if the child wasn't moved meanwhile. Its descriptor may be closed where nothing of it was
    // left to do.
    if (child >= 0) {
        Descriptor folder(OpenFolder(child, ".."));
        if (isIt(folder)) {
            level.folder = std::move(folder);
            return true;
        }
    }
    std::string name;
    const std::string path = m_path.substr(0, level.pathLength);
    const Descriptor parent = OpenParent(path, name);
    if (!parent)
        return false;
    Descriptor folder(OpenFolder(parent.Get(), name.c_str()));
    if (!isIt(folder))
        return false;
    level.folder = std::move(folder);
    return true;
}

} // namespace tfs::service::scan
