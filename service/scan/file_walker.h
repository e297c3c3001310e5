// SPDX-License-Identifier: GPL-2.0-or-later
// Walks trees for their regular files, all areas in one order (path_order.h), so that a walk can go on behind any path.
// Follows no symbolic link, enters no folder twice, needs neither deep recursion nor many descriptors, and takes names
// as bytes of any content and paths of any length. Used on one thread.
#pragma once

#include <contract/scanner_channel.h>
#include <service/scan/exclusions.h>
#include <service/scan/file_systems.h>
#include <service/scan/sorted_names.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unordered_set>
#include <vector>

namespace tfs::service::scan {

/// A regular file, to be opened relative to its folder.
struct FoundFile {
    int folder;                ///< descriptor, lent for the call
    const char* name;          ///< within the folder
    const std::string& path;   ///< whole, for people
    const struct stat& status; ///< of the name, links not followed
    FileSystemKind fileSystem;
};

class IWalkVisitor {
public:
    virtual ~IWalkVisitor() = default;
    virtual void OnFile(const FoundFile& file) = 0;
    /// A file that is open already and may have no name any more; `path` is for people.
    virtual void OnOpened([[maybe_unused]] const std::string& path, [[maybe_unused]] scanner::Descriptor file,
                          [[maybe_unused]] FileSystemKind fileSystem) {}
    /// A link, socket, device or pipe.
    virtual void OnSkipped(const std::string& path) = 0;
    /// A folder, or a named area, that can't be looked at. `error` is the errno value, 0 where no call failed.
    virtual void OnUnreadable(const std::string& path, int error, const std::string& reason) = 0;
    /// False ends the walk.
    virtual bool GoOn() = 0;
};

class FileWalker {
public:
    FileWalker(Exclusions exclusions, bool crossFileSystems, IWalkVisitor& visitor);

    /// Walks areas, absolute paths of files or folders. An area inside another one is walked where its turn comes,
    /// though it may lie on another file system. What comes at or before `goOnBehind`, where that isn't empty, is left
    /// out. Called once.
    void Walk(const std::vector<std::string>& areas, const std::string& goOnBehind = {});

private:
    /// A folder on the way down. Only the deepest ones keep their descriptor.
    struct Level {
        scanner::Descriptor folder;
        dev_t device = 0;
        ino_t inode = 0;
        FileSystemKind fileSystem = FileSystemKind::Disk;
        std::size_t pathLength = 0;
        SortedNames names; ///< still to be looked at
    };
    struct FolderKey {
        dev_t device;
        ino_t inode;
        friend bool operator==(const FolderKey&, const FolderKey&) = default;
    };
    struct FolderHash {
        std::size_t operator()(const FolderKey& key) const noexcept {
            return static_cast<std::size_t>((key.inode ^ (key.device << 40)) * 0x9E3779B97F4A7C15ull >> 7);
        }
    };

    void BeginArea();
    void Step();
    bool NextName(Level& level);
    bool Enter(int parent, const char* name, bool isArea);
    void Look(const Level& level, const char* name);
    void Leave();
    bool Reopen(Level& level, int child);
    void LimitMemory();
    void Unreadable(int error);

    const Exclusions m_exclusions;
    const bool m_crossFileSystems;
    IWalkVisitor& m_visitor;
    std::vector<std::string> m_areas; ///< in order
    std::size_t m_nextArea = 0;
    std::string m_behind;
    FileSystems m_fileSystems;
    std::unordered_set<FolderKey, FolderHash> m_entered;
    std::vector<Level> m_levels;
    std::string m_path;
    std::vector<char> m_entries; ///< buffer of one read of a folder
};

} // namespace tfs::service::scan
