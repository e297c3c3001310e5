// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/set_failure.h>
#include <service/update/source_folder.h>

#include <algorithm>
#include <fcntl.h>

namespace tfs::service::update {
namespace {

/// Opens a signature file that may be taken. Throws SetFailure.
Descriptor OpenGood(int folder, const std::string& name, const FolderLimits& limits, struct stat& status) {
    std::string why;
    Descriptor file = OpenRegular(folder, name, status, why);
    if (file) {
        why = DistrustOfFile(status);
        if (why.empty() && status.st_size == 0)
            why = "is empty";
        else if (why.empty() && status.st_size > limits.fileBytes)
            why = "is too large";
    }
    if (!why.empty())
        throw SetFailure(CleanLine(name) + " " + why, ulk::eInvalidType);
    return file;
}

} // namespace

SourceFolder::SourceFolder(const std::string& path, const FolderLimits& limits)
    : m_folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)), m_limits(limits) {
    if (!m_folder)
        throw SystemFailure("the folder " + CleanLine(path) + " can't be opened");
    struct stat status {};
    if (::fstat(m_folder.Get(), &status) != 0)
        throw SystemFailure("the folder " + CleanLine(path) + " can't be read");
    std::vector<std::string> names;
    if (const int error = ListFolder(m_folder.Get(), limits.entries, names); error == EOVERFLOW)
        throw SetFailure("the folder " + CleanLine(path) + " holds too many files", ulk::eInvalidSize);
    else if (error != 0)
        throw SystemFailure("the folder " + CleanLine(path) + " can't be read", error);
    std::int64_t bytes = 0;
    for (const std::string& name : names) {
        if (!HasSignatureSuffix(name) || name.front() == '.')
            continue;
        if (!IsSignatureFile(name))
            throw SetFailure(CleanLine(name) + " has a name that can't be used", ulk::eInvalidArgument);
        (void)OpenGood(m_folder.Get(), name, limits, status);
        m_files.push_back({name, status.st_size});
        bytes += status.st_size;
        if (m_files.size() > limits.files || bytes > limits.allBytes)
            throw SetFailure("the folder " + CleanLine(path) + " holds too many signatures", ulk::eInvalidSize);
    }
    if (m_files.empty())
        throw SetFailure("the folder " + CleanLine(path) + " holds no signature files", ulk::eNotFound);
}

std::vector<std::string> SourceFolder::NewFor(int set, const std::function<bool()>& cancelled) const {
    std::vector<std::string> files;
    for (const File& file : m_files)
        if (!SameContent(m_folder.Get(), file.name, set, file.name, cancelled))
            files.push_back(file.name);
    return files;
}

std::int64_t SourceFolder::BytesOf(const std::vector<std::string>& files) const {
    std::int64_t bytes = 0;
    for (const File& file : m_files)
        if (std::find(files.begin(), files.end(), file.name) != files.end())
            bytes += file.size;
    return bytes;
}

void SourceFolder::CopyTo(int folder, const std::vector<std::string>& files,
                          const std::function<bool()>& cancelled) const {
    for (const std::string& name : files) {
        struct stat status {};
        const Descriptor file = OpenGood(m_folder.Get(), name, m_limits, status);
        const int error = CopyInto(file.Get(), status, folder, name, cancelled);
        if (error == ECANCELED)
            throw SetFailure("the update was stopped", ulk::eCancelled);
        if (error != 0)
            throw SystemFailure(name + " can't be copied", error);
    }
}

} // namespace tfs::service::update
