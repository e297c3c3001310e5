// SPDX-License-Identifier: GPL-2.0-or-later
// An object's bytes on disk: a key, and behind it, encoded, a header with its digest, the parts of the file that aren't
// holes, and their digest. Written and read as a stream, whatever the size.
#pragma once

#include <service/storage/object_record.h>

#include <functional>
#include <span>
#include <vector>

namespace tfs::service::storage {

/// Copies the file behind `header` from its descriptor, whose position isn't touched, and returns the digest of its
/// bytes. Holes stay holes. `cancelled` may be empty. Throws Failure, eCancelled among its codes.
Digest WriteBlob(int blob, const BlobHeader& header, int source, const std::function<bool()>& cancelled);

/// Reads a blob from its beginning. One thread; the descriptor stays the caller's. All throw Failure: eInvalidState
/// where the bytes aren't what WriteBlob wrote.
class BlobReader {
public:
    explicit BlobReader(int blob);

    const BlobHeader& Header() const noexcept { return m_header; }
    /// Hands on each part with its place in the file, ascending, and returns their digest after it has been tested.
    /// Called once.
    Digest ReadParts(const std::function<void(std::uint64_t offset, std::span<const std::byte> bytes)>& take);

private:
    void Read(std::span<std::byte> bytes);
    /// Read, decoded and added to the digest.
    void Decode(std::span<std::byte> bytes);
    void ReadHeader();

    const int m_blob;
    std::uint64_t m_position = 0;
    BlobCode m_code;
    BlobDigest m_digest;
    BlobHeader m_header;
};

} // namespace tfs::service::storage
