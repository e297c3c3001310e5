// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/bases.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <clamav.h>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <vector>

namespace tfs::scanner {
namespace {

constexpr std::array<std::string_view, 6> HashFiles{".hdb", ".hsb", ".mdb", ".msb", ".imp", ".sfp"};
constexpr std::array<std::string_view, 13> PatternFiles{".cvd", ".cld", ".cud", ".db",  ".ndb",  ".ldb", ".ldu",
                                                        ".idb", ".cbc", ".cdb", ".yar", ".yara", ".ndu"};

bool Contains(const auto& list, std::string_view extension) {
    return std::find(list.begin(), list.end(), extension) != list.end();
}

void Mix(std::uint64_t& hash, const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < size; ++i)
        hash = (hash ^ bytes[i]) * 1099511628211ull;
}

std::int64_t BuildTime(const std::filesystem::path& file, const struct stat& status) {
    if (file.extension() == ".cvd" || file.extension() == ".cld") {
        const std::unique_ptr<cl_cvd, void (*)(cl_cvd*)> head(cl_cvdhead(file.c_str()), cl_cvdfree);
        if (head && head->stime != 0)
            return head->stime;
    }
    return status.st_mtim.tv_sec;
}

} // namespace

BasesInfo InspectBases(const std::string& folder) {
    BasesInfo info;
    std::error_code error;
    std::vector<std::filesystem::path> files;
    for (std::filesystem::directory_iterator at(folder, error), end; !error && at != end; at.increment(error))
        files.push_back(at->path());
    if (error) {
        info.error = "the folder of signatures can't be read: " + error.message();
        return info;
    }
    std::sort(files.begin(), files.end());
    info.fingerprint = 14695981039346656037ull;
    for (const auto& file : files) {
        const std::string extension = file.extension().string();
        const bool pattern = Contains(PatternFiles, extension);
        struct stat status {};
        if (::stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
            continue;
        if (pattern || Contains(HashFiles, extension)) {
            ++info.files;
            info.newest = std::max(info.newest, BuildTime(file, status));
        }
        if (pattern)
            info.patternBytes += static_cast<std::uint64_t>(status.st_size);
        // Every file counts here: lists of exceptions hold no signatures and change verdicts all the same.
        const std::string name = file.filename().string();
        Mix(info.fingerprint, name.data(), name.size());
        Mix(info.fingerprint, &status.st_size, sizeof status.st_size);
        Mix(info.fingerprint, &status.st_mtim, sizeof status.st_mtim);
        Mix(info.fingerprint, &status.st_ino, sizeof status.st_ino);
    }
    if (info.files == 0)
        info.error = "the folder of signatures holds none";
    return info;
}

} // namespace tfs::scanner
