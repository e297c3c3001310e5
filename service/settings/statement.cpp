// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <service/settings/crypto_library.h>
#include <service/settings/file_io.h>
#include <service/settings/statement.h>

#include <cstdio>
#include <ctime>
#include <gcrypt.h>
#include <utility>

namespace tfs::service::settings {
namespace {

constexpr std::size_t MaxStatementSize = 1024 * 1024;
constexpr int Algorithm = GCRY_MD_SHA256;

} // namespace

std::string HashOfStatement(const std::string& path) {
    std::string content;
    if (!IsCryptoLibraryReady() || !ULK_SUCCEEDED(ReadWholeFile(path, MaxStatementSize, content)))
        return {};
    unsigned char digest[32];
    ::gcry_md_hash_buffer(Algorithm, digest, content.data(), content.size());
    std::string text;
    for (const unsigned char byte : digest) {
        char digits[3];
        (void)std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(byte));
        text += digits;
    }
    return text;
}

StatementAcceptance AcceptNow(std::string sha256) {
    return {ulk::datetime::Format(ulk::datetime::ToUtc(std::time(nullptr)), "%Y-%m-%dT%H:%M:%SZ"), std::move(sha256)};
}

} // namespace tfs::service::settings
