// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/settings/crypto_library.h>
#include <service/storage/blob_code.h>
#include <service/storage/failure.h>

#include <algorithm>
#include <gcrypt.h>

namespace tfs::service::storage {
namespace {

constexpr int Algorithm = GCRY_MD_BLAKE2B_256;

void Check(gcry_error_t error) {
    if (error != 0)
        throw Failure(ulk::eUnspecified, std::string("the cipher can't be used: ") + ::gcry_strerror(error));
}

void CheckLibrary() {
    if (!settings::IsCryptoLibraryReady())
        throw Failure(ulk::eNotSupported, "the library for ciphers can't be used");
}

} // namespace

BlobCode::Key BlobCode::MakeKey() {
    CheckLibrary();
    Key key;
    ::gcry_create_nonce(key.data(), key.size());
    return key;
}

BlobCode::BlobCode(const Key& key) {
    CheckLibrary();
    gcry_cipher_hd_t handle = nullptr;
    Check(::gcry_cipher_open(&handle, GCRY_CIPHER_CHACHA20, GCRY_CIPHER_MODE_STREAM, 0));
    m_handle.reset(handle);
    constexpr std::size_t PureKey = 32;
    Check(::gcry_cipher_setkey(handle, key.data(), PureKey));
    Check(::gcry_cipher_setiv(handle, key.data() + PureKey, KeySize - PureKey));
}

void BlobCode::Apply(std::span<std::byte> bytes) {
    if (bytes.empty())
        return;
    Check(::gcry_cipher_encrypt(m_handle.get(), bytes.data(), bytes.size(), nullptr, 0));
}

void BlobCode::Closer::operator()(gcry_cipher_handle* handle) const noexcept { ::gcry_cipher_close(handle); }

BlobDigest::BlobDigest() {
    CheckLibrary();
    gcry_md_hd_t handle = nullptr;
    Check(::gcry_md_open(&handle, Algorithm, 0));
    m_handle.reset(handle);
}

void BlobDigest::Add(std::span<const std::byte> bytes) noexcept {
    if (!bytes.empty())
        ::gcry_md_write(m_handle.get(), bytes.data(), bytes.size());
}

Digest BlobDigest::Take() {
    Digest digest;
    const unsigned char* bytes = ::gcry_md_read(m_handle.get(), Algorithm);
    if (bytes == nullptr)
        throw Failure(ulk::eUnspecified, "the digest can't be told");
    std::copy_n(bytes, digest.size(), digest.begin());
    ::gcry_md_reset(m_handle.get());
    return digest;
}

void BlobDigest::Closer::operator()(gcry_md_handle* handle) const noexcept { ::gcry_md_close(handle); }

} // namespace tfs::service::storage
