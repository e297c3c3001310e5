// SPDX-License-Identifier: GPL-2.0-or-later
// A folder of this machine as the source of an update.
#pragma once

#include <service/update/signature_files.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tfs::service::update {

struct FolderLimits {
    std::size_t entries = 10000; ///< names in the folder, whatever they are
    std::size_t files = 1000;    ///< signature files
    std::int64_t fileBytes = MaxSignatureFile;
    std::int64_t allBytes = 2 * MaxSignatureFile;
};

/// Looks at the folder once, by descriptors; what is changed in it meanwhile is either taken whole or refused. Every
/// refusal is a SetFailure whose line names the file.
class SourceFolder {
public:
    /// Throws SetFailure where the folder or one of its signature files isn't to be taken: a link, another user's,
    /// too large, empty, unreadable, too many, or none at all.
    SourceFolder(const std::string& path, const FolderLimits& limits);

    /// Signature files that `set`, an open folder, doesn't hold with the same bytes. Wrong once `cancelled` is true.
    std::vector<std::string> NewFor(int set, const std::function<bool()>& cancelled) const;
    std::int64_t BytesOf(const std::vector<std::string>& files) const;
    /// Copies the files into an open folder, with their times. Throws SetFailure; with eCancelled as soon as
    /// `cancelled` is true.
    void CopyTo(int folder, const std::vector<std::string>& files, const std::function<bool()>& cancelled) const;

private:
    struct File {
        std::string name;
        std::int64_t size = 0;
    };

    Descriptor m_folder;
    FolderLimits m_limits;
    std::vector<File> m_files;
};

} // namespace tfs::service::update
