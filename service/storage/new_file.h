// SPDX-License-Identifier: GPL-2.0-or-later
// A file that gets its name when it is whole.
#pragma once

#include <service/storage/safe_path.h>

#include <string>

namespace tfs::service::storage {

/// Without Publish nothing stays of it. All calls act with the rights of the calling thread and throw Failure.
class NewFile {
public:
    /// In the place's folder: without a name at all or, where the file system has no such files, with one of its own.
    explicit NewFile(const FolderPlace& place);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Open for writing.
    int Get() const noexcept { return m_file.Get(); }
    /// Gives it the place's name. eAlreadyExists where something has it already, a link that leads nowhere too.
    void Publish();
    /// A further name, on the same file system, after Publish.
    void AddName(const FolderPlace& place) const;

private:
    void MakeNamed();

    const FolderPlace& m_place;
    scanner::Descriptor m_file;
    std::string m_ownName; ///< empty where it has none
};

} // namespace tfs::service::storage
