// SPDX-License-Identifier: GPL-2.0-or-later
// Signature files on disk: which names count, whose files are taken, how they are copied.
#pragma once

#include <contract/scanner_channel.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

namespace tfs::service::update {

using scanner::Descriptor;

/// A name that the engine would load: of letters, digits, '.', '_', '-' and '+', not hidden, with one of its suffixes.
bool IsSignatureFile(std::string_view name) noexcept;

/// The name ends like a signature file's, whatever else stands in it.
bool HasSignatureSuffix(std::string_view name) noexcept;

/// What the updater remembers between its runs, such as how long a mirror asked it to stay away.
inline constexpr char UpdaterMemory[] = "freshclam.dat";

/// Larger ones than this many bytes are refused: it is several times the size of the largest official file.
inline constexpr std::int64_t MaxSignatureFile = std::int64_t{2} << 30;

/// Why a signature file isn't to be taken, as the end of a sentence that begins with its name; empty where it is.
/// Trusted owners are root, the service's user and the account of the packaged updater; nobody else may write to it.
std::string DistrustOfFile(const struct stat& status);
/// The same for a folder that decides which files there are: the updater's account doesn't count.
std::string DistrustOfFolder(const struct stat& status);

/// One line without control characters, at most 300 bytes: what a file name or another program says, for people.
std::string CleanLine(std::string_view text);

/// errno as text.
std::string ErrnoText(int error);

/// Names in an open folder but "." and "..", sorted. Returns 0 or an errno value, EOVERFLOW beyond `limit`.
int ListFolder(int folder, std::size_t limit, std::vector<std::string>& names);

/// Opens a folder, and never a link in its place.
Descriptor OpenFolder(int parent, const char* name) noexcept;

/// Opens a regular file for reading, and never a link, a device or a pipe. On failure `problem` is the end of a
/// sentence that begins with the file's name.
Descriptor OpenRegular(int folder, const std::string& name, struct stat& status, std::string& problem);

/// Copies the rest of `from` into a new file with mode 0644 and the times of `status`, durably.
/// Returns 0 or an errno value: EFBIG where there are more bytes than `status` tells, ECANCELED as soon as `cancelled`
/// (may be empty) is true. A file that was begun stays.
int CopyInto(int from, const struct stat& status, int folder, const std::string& name,
             const std::function<bool()>& cancelled = {});

/// Both names are regular files with the same bytes. False as soon as `cancelled` (may be empty) is true.
bool SameContent(int oneFolder, const std::string& one, int otherFolder, const std::string& other,
                 const std::function<bool()>& cancelled = {});

/// Removes the file or the folder with all that is in it, following no link; true where nothing is left.
bool RemoveAll(const std::string& path) noexcept;

} // namespace tfs::service::update
