// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/process_source.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <limits.h>
#include <set>
#include <sys/sysmacros.h>
#include <system_error>
#include <unistd.h>

namespace tfs::service::scan {
namespace {

using scanner::Descriptor;
using FileId = std::pair<dev_t, ino_t>;

constexpr int OpenFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

/// One line of a process's table of mappings.
struct Mapping {
    std::string range; ///< the name below map_files
    FileId id;
    std::string path; ///< as the kernel shows it
};

/// Nothing for a mapping of no file.
bool Parse(const std::string& line, Mapping& mapping) {
    unsigned long long from = 0;
    unsigned long long to = 0;
    unsigned long long inode = 0;
    unsigned major = 0;
    unsigned minor = 0;
    int path = 0;
    if (std::sscanf(line.c_str(), "%llx-%llx %*4s %*x %x:%x %llu %n", &from, &to, &major, &minor, &inode, &path) != 5 ||
        inode == 0 || path == 0 || line[static_cast<std::size_t>(path)] != '/')
        return false;
    std::array<char, 40> range{};
    std::snprintf(range.data(), range.size(), "%llx-%llx", from, to);
    mapping = {range.data(), {makedev(major, minor), inode}, line.substr(static_cast<std::size_t>(path))};
    return true;
}

/// Threads of the kernel are its children, or that of its name, and have no memory of their own.
bool IsKernelThread(const std::string& folder) {
    constexpr int KernelParent = 2;
    std::ifstream file(folder + "/stat");
    std::string text;
    std::getline(file, text);
    const std::size_t end = text.rfind(')');
    int parent = 0;
    return end != std::string::npos && std::sscanf(text.c_str() + end + 1, " %*c %d", &parent) == 1 &&
           (parent == KernelParent || (parent == 0 && text.starts_with("2 ")));
}

bool IsGone(int error) noexcept { return error == ENOENT || error == ESRCH || error == 0; }

/// One walk over all processes.
class ProcessWalk {
public:
    ProcessWalk(const Exclusions& exclusions, IWalkVisitor& visitor) : m_exclusions(exclusions), m_visitor(visitor) {}

    void Process(const std::string& folder) {
        if (IsKernelThread(folder))
            return;
        std::array<char, PATH_MAX> name{};
        if (::readlink((folder + "/exe").c_str(), name.data(), name.size() - 1) > 0)
            Take(folder + "/exe", name.data());
        errno = 0;
        std::ifstream maps(folder + "/maps");
        const int error = errno;
        if (!maps && !IsGone(error))
            return m_visitor.OnUnreadable(folder, error, std::generic_category().message(error));
        Mapping mapping;
        for (std::string line; m_visitor.GoOn() && std::getline(maps, line);)
            if (Parse(line, mapping) && m_seenMappings.insert(mapping.id).second)
                TakeMapping(folder, mapping);
    }

private:
    void TakeMapping(const std::string& folder, const Mapping& mapping) {
        const int error = Take(folder + "/map_files/" + mapping.range, mapping.path);
        if (error == 0)
            return;
        // Without privileges the mappings can't be opened; their files can, where they still have their names.
        if ((error == EPERM || error == EACCES) && TakeByName(folder + "/root" + mapping.path, mapping))
            return;
        if (IsGone(error))
            m_seenMappings.erase(mapping.id); // another process may still have it
        else
            m_visitor.OnUnreadable(mapping.path, error, std::generic_category().message(error));
    }

    bool TakeByName(const std::string& link, const Mapping& mapping) {
        struct stat status {};
        return ::stat(link.c_str(), &status) == 0 && status.st_ino == mapping.id.second &&
               Take(link, mapping.path) == 0;
    }

    /// Returns 0 where nothing is left to do, or an errno value.
    int Take(const std::string& link, const std::string& path) {
        struct stat status {};
        if (::stat(link.c_str(), &status) != 0)
            return errno;
        if (!S_ISREG(status.st_mode)) { // a device that was opened might do something
            if (m_seenFiles.insert({status.st_dev, status.st_ino}).second)
                m_visitor.OnSkipped(path);
            return 0;
        }
        if (m_exclusions.ExcludesAnyOf(path) || m_seenFiles.contains({status.st_dev, status.st_ino}))
            return 0;
        Descriptor file(::open(link.c_str(), OpenFlags));
        if (!file || ::fstat(file.Get(), &status) != 0)
            return errno;
        const FileSystemKind kind = m_fileSystems.KindOf(status.st_dev, file.Get());
        if (m_seenFiles.insert({status.st_dev, status.st_ino}).second && kind != FileSystemKind::Virtual)
            m_visitor.OnOpened(path, std::move(file), kind);
        return 0;
    }

    const Exclusions& m_exclusions;
    IWalkVisitor& m_visitor;
    FileSystems m_fileSystems;
    std::set<FileId> m_seenMappings; ///< as the table of mappings names them, which may differ
    std::set<FileId> m_seenFiles;
};

} // namespace

void ProcessSource::Walk(IWalkVisitor& visitor, const std::string&) const {
    std::vector<int> processes;
    std::error_code error;
    for (std::filesystem::directory_iterator at(m_folder, error), end; !error && at != end; at.increment(error)) {
        const std::string name = at->path().filename().string();
        int process = 0;
        const auto [rest, failure] = std::from_chars(name.data(), name.data() + name.size(), process);
        if (failure == std::errc{} && rest == name.data() + name.size())
            processes.push_back(process);
    }
    if (error)
        visitor.OnUnreadable(m_folder, error.value(), error.message());
    std::sort(processes.begin(), processes.end());
    ProcessWalk walk(m_exclusions, visitor);
    for (const int process : processes)
        if (visitor.GoOn())
            walk.Process(m_folder + "/" + std::to_string(process));
}

} // namespace tfs::service::scan
