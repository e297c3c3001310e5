// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/set_failure.h>

#include <unistd.h>

namespace tfs::service::update {

SetFailure SystemFailure(const std::string& what, int error) {
    return {what + ": " + ErrnoText(error), ulk::ResultFromErrno(error)};
}

std::vector<std::string> NamesIn(int folder, const std::string& path) {
    std::vector<std::string> names;
    if (const int error = ListFolder(folder, MostEntriesOfSet, names); error != 0)
        throw SystemFailure(path + (error == EOVERFLOW ? " holds too many files" : " can't be read"), error);
    return names;
}

void SyncFolder(const Descriptor& folder, const std::string& path) {
    if (::fsync(folder.Get()) != 0)
        throw SystemFailure(path + " can't be written");
}

} // namespace tfs::service::update
