// SPDX-License-Identifier: GPL-2.0-or-later
// Walks trees for their regular files. Follows no symbolic link, enters no folder twice, needs neither deep recursion
// nor many descriptors, and takes names as bytes of any content and paths of any length. Used on one thread.
#pragma once

#include <contract/scanner_channel.h>
#include <service/scan/file_systems.h>

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
    /// A link, socket, device or pipe.
    virtual void OnSkipped(const std::string& path) = 0;
    /// A folder, or a named area, that can't be looked at. `error` is the errno value, 0 where no call failed.
    virtual void OnUnreadable(const std::string& path, int error, const std::string& reason) = 0;
    /// False ends the walk.
    virtual bool GoOn() = 0;
};

class FileWalker {
public:
    FileWalker(std::vector<std::string> excludedPaths, bool crossFileSystems, IWalkVisitor& visitor);

    /// Walks one area: an absolute path of a file or a folder.
    void Walk(const std::string& area);

private:
    /// A folder on the way down. Only the deepest ones keep their descriptor.
    struct Level {
        scanner::Descriptor folder;
        dev_t device = 0;
        ino_t inode = 0;
        FileSystemKind fileSystem = FileSystemKind::Disk;
        std::size_t pathLength = 0;
        std::vector<std::string> folders; ///< still to be entered
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

    bool Enter(int parent, const char* name, bool isArea);
    void List(Level& level);
    void Look(Level& level, const char* name);
    void Leave();
    bool Reopen(Level& level, int child);
    bool IsExcluded(const std::string& path) const;
    void Unreadable(int error);

    std::unordered_set<std::string> m_excluded;
    const bool m_crossFileSystems;
    IWalkVisitor& m_visitor;
    FileSystems m_fileSystems;
    std::unordered_set<FolderKey, FolderHash> m_entered;
    std::vector<Level> m_levels;
    std::string m_path;
    std::vector<char> m_entries; ///< buffer of one read of a folder
};

} // namespace tfs::service::scan
