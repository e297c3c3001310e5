// SPDX-License-Identifier: GPL-2.0-or-later
// Names of files, held by their folder, so that nothing that is moved or linked meanwhile leads an action elsewhere.
#pragma once

#include <contract/scanner_channel.h>
#include <service/storage/object_record.h>

#include <optional>
#include <string>

namespace tfs::service::storage {

/// A place in a folder that is open. All calls act with the rights of the calling thread.
class FolderPlace {
public:
    /// Opens the folder of an absolute path, following no symbolic link on the way. Throws Failure: eNotAbsolutePath,
    /// also for a path with "." or ".." in it, ePathNotFound where the folder is missing or a link, else what the
    /// system says.
    static FolderPlace Open(const std::string& path);

    const std::string& Path() const noexcept { return m_path; }
    const char* Name() const noexcept { return m_path.c_str() + m_nameAt; }
    /// Usable for *at calls alone.
    int Folder() const noexcept { return m_folder.Get(); }

    /// What the name leads to, itself and no link's target; empty where there is nothing.
    std::optional<FileIdentity> Look() const;
    /// Removes the name, unless it leads to another file than `file` by now: false then.
    bool RemoveIf(const FileIdentity& file) const;
    /// Makes sure that what was done in the folder outlives a loss of power, as far as the folder can be read.
    void Sync() const noexcept;

private:
    FolderPlace(std::string path, std::size_t nameAt, scanner::Descriptor folder)
        : m_path(std::move(path)), m_nameAt(nameAt), m_folder(std::move(folder)) {}

    std::string m_path;
    std::size_t m_nameAt;
    scanner::Descriptor m_folder;
};

/// The place of an open file: where `path` says, else where the kernel says, whichever leads to it without a link.
/// Empty where neither does; `denied` is eAccessDenied then where a folder may not be looked into, else sOk.
std::optional<FolderPlace> FindPlace(int file, const std::string& path, const FileIdentity& identity, result_t& denied);

} // namespace tfs::service::storage
