// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/updater_account.h>

#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace tfs::service::update {
namespace {

constexpr char PackagedName[] = "clamav";
constexpr char FallbackName[] = "nobody";
constexpr std::size_t EntrySize = 16384;

template <class Lookup>
std::optional<UpdaterAccount> Find(Lookup lookup) {
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(EntrySize);
    if (lookup(entry, buffer, found) != 0 || found == nullptr)
        return std::nullopt;
    return UpdaterAccount{entry.pw_uid, entry.pw_gid, entry.pw_name};
}

std::optional<UpdaterAccount> ByName(const char* name) {
    auto account = Find([name](passwd& entry, std::vector<char>& buffer, passwd*& found) {
        return ::getpwnam_r(name, &entry, buffer.data(), buffer.size(), &found);
    });
    // Under root's number it would be no protection.
    return account && account->uid != 0 ? account : std::nullopt;
}

} // namespace

std::optional<UpdaterAccount> FindUpdaterAccount() {
    const uid_t own = ::geteuid();
    if (own == 0) {
        auto account = ByName(PackagedName);
        return account ? account : ByName(FallbackName);
    }
    return UpdaterAccount{own, ::getegid(), {}};
}

bool IsPackagedUpdater(uid_t uid) noexcept {
    try {
        const auto account = ByName(PackagedName);
        return account && account->uid == uid;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace tfs::service::update
