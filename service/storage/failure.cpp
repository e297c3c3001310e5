// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/backup.h>
#include <service/storage/failure.h>
#include <service/store/sqlite.h>

#include <cerrno>
#include <new>
#include <system_error>

namespace tfs::service::storage {

Failure Failure::OfErrno(int error, const std::string& what) {
    return {CodeOfErrno(error), what + ": " + std::generic_category().message(error)};
}

Failure Failure::Of(const std::exception& thrown) {
    if (const auto* failure = dynamic_cast<const Failure*>(&thrown))
        return *failure;
    if (dynamic_cast<const std::bad_alloc*>(&thrown) != nullptr)
        return {ulk::eOutOfMemory, "memory is short"};
    result_t code = ulk::eUnspecified;
    if (const auto* error = dynamic_cast<const store::SqliteError*>(&thrown))
        code = error->IsFull()       ? ulk::eInsufficientResources
               : error->IsReadOnly() ? eReadOnlyFileSystem
                                     : ulk::eUnspecified;
    return {code, std::string("Storage's database: ") + thrown.what()};
}

result_t CodeOfErrno(int error) noexcept {
    switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return ulk::eInsufficientResources;
    case EROFS:
        return eReadOnlyFileSystem;
    default:
        return ulk::ResultFromErrno(error);
    }
}

} // namespace tfs::service::storage
