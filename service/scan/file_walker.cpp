// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/file_walker.h>
#include <service/scan/path_order.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <system_error>

namespace tfs::service::scan {
namespace {

using scanner::Descriptor;

constexpr std::size_t EntryBuffer = 64 * 1024;
/// Descriptors that the walk holds at most; folders further up are opened again on the way back.
constexpr std::size_t OpenLevels = 48;
/// Names that the walk holds at most, over all levels.
constexpr std::size_t MostNameMemory = std::size_t{4} << 20;
/// What one system call takes as a path, with room to spare.
constexpr std::size_t PathPiece = 3000;
constexpr int FolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

std::string ErrorText(int error) { return std::generic_category().message(error); }

int OpenFolder(int parent, const char* name) {
    const int folder = ::openat(parent, name, FolderFlags | O_NOATIME);
    return folder < 0 && errno == EPERM ? ::openat(parent, name, FolderFlags) : folder;
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

/// False where it can't be told.
bool IsOnSameMount(int folder, const char* name) noexcept {
    struct statx ours {};
    struct statx file {};
    return ::statx(folder, "", AT_EMPTY_PATH, STATX_MNT_ID, &ours) == 0 && (ours.stx_mask & STATX_MNT_ID) != 0 &&
           ::statx(folder, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_MNT_ID, &file) == 0 &&
           ours.stx_mnt_id == file.stx_mnt_id;
}

} // namespace

FileWalker::FileWalker(Exclusions exclusions, bool crossFileSystems, IWalkVisitor& visitor)
    : m_exclusions(std::move(exclusions)), m_crossFileSystems(crossFileSystems), m_visitor(visitor),
      m_entries(EntryBuffer) {}

void FileWalker::Unreadable(int error) { m_visitor.OnUnreadable(m_path, error, ErrorText(error)); }

void FileWalker::Walk(const std::vector<std::string>& areas, const std::string& goOnBehind) {
    m_behind = goOnBehind;
    for (const std::string& area : areas) {
        if (!area.empty() && area.front() == '/' && area.find('\0') == std::string::npos)
            m_areas.push_back(NormalisedPath(area));
        else if (m_behind.empty())
            m_visitor.OnUnreadable(area, 0, "not an absolute path");
    }
    std::sort(m_areas.begin(), m_areas.end(),
              [](const std::string& a, const std::string& b) { return ComparePaths(a, b) < 0; });
    m_areas.erase(std::unique(m_areas.begin(), m_areas.end()), m_areas.end());
    while (m_visitor.GoOn() && (!m_levels.empty() || m_nextArea < m_areas.size()))
        m_levels.empty() ? BeginArea() : Step();
    m_levels.clear();
}

/// May leave a level more to be walked.
void FileWalker::BeginArea() {
    m_path = m_areas[m_nextArea++];
    const bool holdsMark = IsInside(m_behind, m_path);
    if (!m_behind.empty() && !holdsMark && ComparePaths(m_path, m_behind) < 0)
        return;
    if (m_exclusions.ExcludesAnyOf(m_path)) // an area may lie inside an excluded tree
        return;
    std::string name;
    const Descriptor parent = OpenParent(m_path, name);
    struct stat status {};
    if (!parent || ::fstatat(parent.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0)
        return Unreadable(errno);
    if (S_ISDIR(status.st_mode)) {
        Enter(parent.Get(), name.c_str(), true);
        return;
    }
    if (m_path == m_behind)
        return;
    if (!S_ISREG(status.st_mode))
        return m_visitor.OnSkipped(m_path);
    const FileSystemKind kind = m_fileSystems.KindOf(status.st_dev, parent.Get());
    if (kind == FileSystemKind::Virtual)
        return m_visitor.OnUnreadable(m_path, 0, "not a file on a disk");
    m_visitor.OnFile({parent.Get(), name.c_str(), m_path, status, kind});
}

void FileWalker::Step() {
    if (!NextName(m_levels.back()))
        return Leave();
    Level& level = m_levels.back();
    m_path.resize(level.pathLength);
    AppendName(m_path, level.names.Peek());
    if (m_nextArea < m_areas.size()) {
        const int order = ComparePaths(m_areas[m_nextArea], m_path);
        if (order == 0)
            level.names.Pop();
        if (order <= 0)
            return BeginArea();
    }
    level.names.Pop();
    Look(level, m_path.c_str() + m_path.rfind('/') + 1);
}

/// Makes the next name of the level ready. False where there is none any more.
bool FileWalker::NextName(Level& level) {
    while (level.names.Peek() == nullptr) {
        if (level.names.IsAtEnd())
            return false;
        const int error = level.names.Read(level.folder.Get(), m_entries);
        if (error != 0 && error != ENOENT) { // ENOENT: removed since
            m_path.resize(level.pathLength);
            Unreadable(error);
        }
    }
    return true;
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
    if (IsInside(m_behind, m_path)) {
        const std::size_t begin = m_path.size() + (m_path.back() == '/' ? 0 : 1);
        level.names.BeginAt(m_behind.substr(begin, m_behind.find('/', begin) - begin));
    }
    m_levels.push_back(std::move(level));
    if (m_levels.size() > OpenLevels)
        m_levels[m_levels.size() - 1 - OpenLevels].folder.Reset();
    LimitMemory();
    return true;
}

/// Levels far up are returned to last.
void FileWalker::LimitMemory() {
    std::size_t held = 0;
    for (const Level& level : m_levels)
        held += level.names.Memory();
    for (std::size_t i = 0; i < m_levels.size() && held > MostNameMemory; ++i) {
        held -= m_levels[i].names.Memory();
        m_levels[i].names.Drop();
    }
}

/// `m_path` is the entry's.
void FileWalker::Look(const Level& level, const char* name) {
    if (m_exclusions.Excludes(m_path))
        return;
    struct stat status {};
    if (::fstatat(level.folder.Get(), name, &status, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0) {
        if (errno != ENOENT)
            Unreadable(errno);
        return;
    }
    // The files of an overlay have other devices than its folders, where its layers have.
    const bool elsewhere = status.st_dev != level.device;
    if (elsewhere && !m_crossFileSystems && !IsOnSameMount(level.folder.Get(), name))
        return;
    if (S_ISDIR(status.st_mode)) {
        Enter(level.folder.Get(), name, false);
        return;
    }
    if (m_path == m_behind)
        return;
    // A single file of another file system is mounted over a name: never cached, and not asked what it lies on.
    if (S_ISREG(status.st_mode))
        m_visitor.OnFile(
            {level.folder.Get(), name, m_path, status, elsewhere ? FileSystemKind::Unstamped : level.fileSystem});
    else
        m_visitor.OnSkipped(m_path);
}

void FileWalker::Leave() {
    Level left = std::move(m_levels.back());
    m_levels.pop_back();
    if (m_levels.empty())
        return;
    Level& level = m_levels.back();
    if (level.folder || level.names.IsAtEnd() || Reopen(level, left.folder.Get()))
        return;
    m_path.resize(level.pathLength);
    m_visitor.OnUnreadable(m_path, 0, "moved while it was scanned");
    level.names.Clear();
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
