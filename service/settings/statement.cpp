// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
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

/// The library wants to be asked for its version before anything else, once in a process.
bool IsLibraryReady() {
    static const bool ready = [] {
        if (::gcry_check_version(nullptr) == nullptr)
            return false;
        ::gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
        ::gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        return true;
    }();
    return ready;
}

} // namespace

std::string HashOfStatement(const std::string& path) {
    std::string content;
    if (!IsLibraryReady() || !ULK_SUCCEEDED(ReadWholeFile(path, MaxStatementSize, content)))
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
