// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/signature_files.h>
#include <service/update/updater_account.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace tfs::service::update {
namespace {

constexpr std::array<std::string_view, 39> Suffixes{
    ".cat", ".cbc", ".cdb", ".cfg", ".cld", ".crb", ".cud",  ".cvd", ".db",  ".fp",  ".ftm",  ".gdb",  ".hdb",
    ".hdu", ".hsb", ".hsu", ".idb", ".ign", ".imp", ".info", ".ioc", ".ldb", ".ldu", ".mdb",  ".mdu",  ".msb",
    ".msu", ".ndb", ".ndu", ".pdb", ".rmd", ".sdb", ".sfp",  ".wdb", ".yar", ".zmd", ".ign2", ".pwdb", ".yara"};
constexpr std::size_t LongestName = 128;
constexpr std::size_t LongestLine = 300;
constexpr std::size_t CopyStep = std::size_t{1} << 20;

bool IsPlain(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '_' ||
           c == '-' || c == '+';
}

struct FolderCloser {
    void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};

ssize_t ReadSome(int fd, char* buffer, std::size_t size) noexcept {
    ssize_t count = 0;
    do
        count = ::read(fd, buffer, size);
    while (count < 0 && errno == EINTR);
    return count;
}

/// Fills the buffer as far as the file goes.
ssize_t ReadFull(int fd, char* buffer, std::size_t size) noexcept {
    std::size_t have = 0;
    while (have < size) {
        const ssize_t count = ReadSome(fd, buffer + have, size - have);
        if (count < 0)
            return count;
        if (count == 0)
            break;
        have += static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(have);
}

int WriteAll(int fd, const char* data, std::size_t size) noexcept {
    while (size > 0) {
        const ssize_t count = ::write(fd, data, size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return errno;
        data += count;
        size -= static_cast<std::size_t>(count);
    }
    return 0;
}

} // namespace

bool HasSignatureSuffix(std::string_view name) noexcept {
    const std::size_t dot = name.rfind('.');
    return dot != std::string_view::npos && dot != 0 &&
           std::find(Suffixes.begin(), Suffixes.end(), name.substr(dot)) != Suffixes.end();
}

bool IsSignatureFile(std::string_view name) noexcept {
    return HasSignatureSuffix(name) && name.size() <= LongestName && name.front() != '.' && name.front() != '-' &&
           std::all_of(name.begin(), name.end(), IsPlain);
}

std::string DistrustOfFolder(const struct stat& status) {
    if (status.st_uid != 0 && status.st_uid != ::geteuid())
        return "belongs to another user";
    if ((status.st_mode & S_IWOTH) != 0)
        return "may be written by every user";
    return {};
}

std::string DistrustOfFile(const struct stat& status) {
    struct stat judged = status;
    if (IsPackagedUpdater(status.st_uid))
        judged.st_uid = ::geteuid();
    if (std::string distrust = DistrustOfFolder(judged); !distrust.empty())
        return distrust;
    return status.st_size > MaxSignatureFile ? "is larger than 2 GiB" : std::string();
}

std::string CleanLine(std::string_view text) {
    std::string line;
    bool space = false;
    for (const char c : text.substr(0, 4 * LongestLine)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte <= ' ' || byte == 0x7F) {
            space = !line.empty();
            continue;
        }
        if (space)
            line += ' ';
        space = false;
        line += byte < 0x80 ? c : '?';
        if (line.size() >= LongestLine)
            return line.substr(0, LongestLine - 3) + "...";
    }
    return line;
}

std::string ErrnoText(int error) { return std::generic_category().message(error); }

int ListFolder(int folder, std::size_t limit, std::vector<std::string>& names) {
    names.clear();
    Descriptor own(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!own)
        return errno;
    const std::unique_ptr<DIR, FolderCloser> stream(::fdopendir(own.Get()));
    if (!stream)
        return errno;
    (void)own.Release();
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(stream.get());
        if (entry == nullptr)
            break;
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        if (names.size() >= limit)
            return EOVERFLOW;
        names.emplace_back(name);
    }
    const int error = errno;
    std::sort(names.begin(), names.end());
    return error;
}

Descriptor OpenFolder(int parent, const char* name) noexcept {
    return Descriptor(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

Descriptor OpenRegular(int folder, const std::string& name, struct stat& status, std::string& problem) {
    // O_NONBLOCK: a pipe in the file's place must hold nobody.
    Descriptor file(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file) {
        problem = errno == ELOOP ? "is a link" : "can't be read: " + ErrnoText(errno);
        return {};
    }
    if (::fstat(file.Get(), &status) != 0) {
        problem = "can't be read: " + ErrnoText(errno);
        return {};
    }
    if (!S_ISREG(status.st_mode)) {
        problem = "is no regular file";
        return {};
    }
    return file;
}

int CopyInto(int from, const struct stat& status, int folder, const std::string& name,
             const std::function<bool()>& cancelled) {
    const Descriptor to(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
    if (!to)
        return errno;
    std::vector<char> buffer(CopyStep);
    // A file that grows meanwhile must not fill the disk.
    std::uint64_t left = static_cast<std::uint64_t>(status.st_size);
    for (;;) {
        if (cancelled && cancelled())
            return ECANCELED;
        const ssize_t count = ReadSome(from, buffer.data(), buffer.size());
        if (count < 0)
            return errno;
        if (count == 0)
            break;
        if (static_cast<std::uint64_t>(count) > left)
            return EFBIG;
        left -= static_cast<std::uint64_t>(count);
        if (const int error = WriteAll(to.Get(), buffer.data(), static_cast<std::size_t>(count)); error != 0)
            return error;
    }
    // The age of signatures is told by their files' times; the umask must not hide them from the scanner.
    const timespec times[2] = {status.st_mtim, status.st_mtim};
    if (::fchmod(to.Get(), 0644) != 0 || ::futimens(to.Get(), times) != 0 || ::fsync(to.Get()) != 0)
        return errno;
    return 0;
}

bool SameContent(int oneFolder, const std::string& one, int otherFolder, const std::string& other,
                 const std::function<bool()>& cancelled) {
    struct stat oneStatus {};
    struct stat otherStatus {};
    std::string ignored;
    const Descriptor first = OpenRegular(oneFolder, one, oneStatus, ignored);
    const Descriptor second = OpenRegular(otherFolder, other, otherStatus, ignored);
    if (!first || !second || oneStatus.st_size != otherStatus.st_size)
        return false;
    if (oneStatus.st_dev == otherStatus.st_dev && oneStatus.st_ino == otherStatus.st_ino)
        return true;
    std::vector<char> left(CopyStep);
    std::vector<char> right(CopyStep);
    for (;;) {
        const ssize_t count = ReadFull(first.Get(), left.data(), left.size());
        if ((cancelled && cancelled()) || count < 0 || ReadFull(second.Get(), right.data(), right.size()) != count)
            return false;
        if (!std::equal(left.begin(), left.begin() + count, right.begin()))
            return false;
        if (count == 0)
            return true;
    }
}

bool RemoveAll(const std::string& path) noexcept {
    std::error_code error;
    std::filesystem::remove_all(path, error);
    return !error;
}

} // namespace tfs::service::update
