// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/storage/failure.h>
#include <service/storage/new_file.h>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::service::storage {
namespace {

constexpr mode_t FirstMode = 0600;

[[noreturn]] void ThrowNotPublished(int error) {
    if (error == EEXIST)
        throw Failure(ulk::eAlreadyExists, "something has its name already");
    throw Failure::OfErrno(error, "the file can't get its name");
}

} // namespace

NewFile::NewFile(const FolderPlace& place) : m_place(place) {
    m_file.Reset(::openat(place.Folder(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, FirstMode));
    if (!m_file && (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL))
        MakeNamed();
    if (!m_file)
        throw Failure::OfErrno(errno, "its folder can't be written");
}

void NewFile::MakeNamed() {
    std::random_device random;
    char name[64];
    (void)std::snprintf(name, sizeof name, ".tesl-restore-%08x%08x", random(), random());
    m_file.Reset(::openat(m_place.Folder(), name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, FirstMode));
    if (m_file)
        m_ownName = name;
}

NewFile::~NewFile() {
    if (!m_ownName.empty())
        ::unlinkat(m_place.Folder(), m_ownName.c_str(), 0);
}

void NewFile::Publish() {
    if (::fsync(m_file.Get()) != 0)
        throw Failure::OfErrno(errno, "the file can't be written");
    if (m_ownName.empty())
        return AddName(m_place);
    if (::renameat2(m_place.Folder(), m_ownName.c_str(), m_place.Folder(), m_place.Name(), RENAME_NOREPLACE) != 0)
        ThrowNotPublished(errno);
    m_ownName.clear();
    m_place.Sync();
}

void NewFile::AddName(const FolderPlace& place) const {
    const std::string link = "/proc/self/fd/" + std::to_string(m_file.Get());
    if (::linkat(AT_FDCWD, link.c_str(), place.Folder(), place.Name(), AT_SYMLINK_FOLLOW) != 0)
        ThrowNotPublished(errno);
    place.Sync();
}

} // namespace tfs::service::storage
