// SPDX-License-Identifier: GPL-2.0-or-later
// How bytes lie in Storage: under a cipher whose key stands before them. That hides nothing from anybody who may read
// the file; it is there so that no scanner, and no program started by mistake, meets the object in its own form.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

struct gcry_cipher_handle;
struct gcry_md_handle;

namespace tfs::service::storage {

using Digest = std::array<std::uint8_t, 32>;

/// A stream that is encoded and decoded by the same operation. One thread.
class BlobCode {
public:
    static constexpr std::size_t KeySize = 32 + 12; ///< key and nonce
    using Key = std::array<std::uint8_t, KeySize>;

    static Key MakeKey();
    /// Throws Failure.
    explicit BlobCode(const Key& key);
    /// In place; continues where the last call ended.
    void Apply(std::span<std::byte> bytes);

private:
    struct Closer {
        void operator()(gcry_cipher_handle* handle) const noexcept;
    };
    std::unique_ptr<gcry_cipher_handle, Closer> m_handle;
};

/// A digest of what was added, in order. One thread.
class BlobDigest {
public:
    /// Throws Failure.
    BlobDigest();
    void Add(std::span<const std::byte> bytes) noexcept;
    /// Of everything up to now; begins anew.
    Digest Take();

private:
    struct Closer {
        void operator()(gcry_md_handle* handle) const noexcept;
    };
    std::unique_ptr<gcry_md_handle, Closer> m_handle;
};

} // namespace tfs::service::storage
