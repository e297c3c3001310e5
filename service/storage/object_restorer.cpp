// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/user_rights.h>
#include <service/storage/blob_file.h>
#include <service/storage/failure.h>
#include <service/storage/new_file.h>
#include <service/storage/object_restorer.h>

#include <cerrno>
#include <unistd.h>

namespace tfs::service::storage {
namespace {

void WriteAt(int file, std::uint64_t offset, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::pwrite(file, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            throw Failure::OfErrno(errno, "the file can't be written");
        offset += static_cast<std::uint64_t>(written);
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

/// What isn't told by any part is a hole again.
void WriteContent(BlobReader& reader, const ObjectRecord& record, int file, const std::function<bool()>& cancelled) {
    const Digest digest = reader.ReadParts([&](std::uint64_t offset, std::span<const std::byte> bytes) {
        if (cancelled && cancelled())
            throw Failure(ulk::eCancelled, "cancelled");
        WriteAt(file, offset, bytes);
    });
    if (digest != record.digest)
        throw Failure(ulk::eInvalidState, "the object in Storage isn't what was saved");
    if (::ftruncate(file, static_cast<off_t>(record.identity.size)) != 0)
        throw Failure::OfErrno(errno, "the file can't be written");
}

std::vector<std::string> Restore(BlobReader& reader, const ObjectRecord& record, std::optional<std::uint32_t> user,
                                 const std::function<bool()>& cancelled) {
    const FolderPlace place = FolderPlace::Open(record.path);
    if (place.Look())
        throw Failure(ulk::eAlreadyExists, "something has its name already");
    NewFile file(place);
    WriteContent(reader, record, file.Get(), cancelled);
    GiveTraits(file.Get(), reader.Header().traits, user);
    file.Publish();
    std::vector<std::string> left;
    for (const std::string& name : record.otherNames)
        try {
            file.AddName(FolderPlace::Open(name));
        } catch (const Failure&) {
            left.push_back(name);
        }
    return left;
}

} // namespace

std::vector<std::string> RestoreObject(const BlobFolder& blobs, const ObjectRecord& record,
                                       std::optional<std::uint32_t> user, const std::function<bool()>& cancelled) {
    const scanner::Descriptor blob = blobs.Read(record.id);
    BlobReader reader(blob.Get());
    const BlobHeader& header = reader.Header();
    if (header.id != record.id || header.path != record.path || header.traits.uid != record.ownerUid ||
        header.identity.size != record.identity.size)
        throw Failure(ulk::eInvalidState, "the object in Storage is another one than its record tells");
    std::vector<std::string> left;
    const int error = scan::RunWithRights(user, [&] { left = Restore(reader, record, user, cancelled); });
    if (error != 0)
        throw Failure::OfErrno(error, "the user's rights can't be had");
    return left;
}

} // namespace tfs::service::storage
