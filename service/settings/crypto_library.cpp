// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/settings/crypto_library.h>

#include <gcrypt.h>

namespace tfs::service::settings {

bool IsCryptoLibraryReady() noexcept {
    static const bool ready = [] {
        if (::gcry_check_version(nullptr) == nullptr)
            return false;
        ::gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
        ::gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        return true;
    }();
    return ready;
}

} // namespace tfs::service::settings
