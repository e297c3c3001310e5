// SPDX-License-Identifier: GPL-2.0-or-later
// Marks on folders and on all that are made below them: the way to watch a part of a file system without hearing of the
// rest of it.
#pragma once

#include <contract/scanner_channel.h>
#include <service/realtime/fanotify_group.h>
#include <service/realtime/file_screen.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace tfs::service::realtime {

/// What each of the two groups is to tell of.
struct EventMasks {
    std::uint64_t deciding = 0;
    std::uint64_t telling = 0;
};

/// Used on one thread; the groups and the screen outlive it. Folders that are excluded and other file systems below are
/// left out.
class FolderMarks {
public:
    FolderMarks(FanotifyGroup& deciding, FanotifyGroup& telling, const FileScreen& screen);

    /// Returns 0, or the errno value that kept the folder itself from being marked.
    int Add(const std::string& folder, const EventMasks& masks);
    /// Ready for reading when Follow has something to do.
    int Descriptor() const noexcept { return m_changes.Get(); }
    /// Marks folders that were made or moved here. `found` is called with the name of each file that came along, and
    /// may have been there before its folder was marked.
    void Follow(const std::function<void(const std::string& file)>& found);
    /// Sets the marks of the deciding group again.
    void MarkAgain();
    /// Forgets all folders; the marks stay.
    void Clear();

private:
    struct Folder {
        std::string path;
        EventMasks masks;
    };
    using Found = std::function<void(const std::string&)>;

    void OnChange(int watch, bool isFolder, const std::string& name, const Found& found);
    void MarkTree(const std::string& folder, const EventMasks& masks, const Found& found);
    int MarkOne(const std::string& folder, const EventMasks& masks);
    void WalkAgain(const Found& found);

    FanotifyGroup& m_deciding;
    FanotifyGroup& m_telling;
    const FileScreen& m_screen;
    scanner::Descriptor m_changes;
    std::vector<Folder> m_roots;
    std::map<int, Folder> m_folders; ///< by the number of their watch
};

} // namespace tfs::service::realtime
