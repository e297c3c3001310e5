// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/user_names.h>

#include <cerrno>
#include <pwd.h>
#include <vector>

namespace tfs::service::tasks {
namespace {

/// A machine with more users than this forgets and asks again.
constexpr std::size_t MaxNames = 4096;

std::string NameFromSystem(std::uint32_t uid) {
    std::vector<char> buffer(1024);
    passwd record{};
    passwd* found = nullptr;
    int error = 0;
    while ((error = ::getpwuid_r(uid, &record, buffer.data(), buffer.size(), &found)) == ERANGE &&
           buffer.size() < 1024 * 1024)
        buffer.resize(buffer.size() * 2);
    return error == 0 && found != nullptr ? std::string(record.pw_name) : std::string();
}

} // namespace

ulk::types::string16_t UserNames::Known(std::uint32_t uid) const {
    const ulk::LockGuard lock(m_mutex);
    const auto found = m_names.find(uid);
    return found == m_names.end() ? ulk::types::string16_t() : found->second;
}

ulk::types::string16_t UserNames::Resolve(std::uint32_t uid) {
    {
        const ulk::LockGuard lock(m_mutex);
        if (const auto found = m_names.find(uid); found != m_names.end())
            return found->second;
    }
    auto name = ulk::text::ToUtf16Lossy(NameFromSystem(uid));
    const ulk::LockGuard lock(m_mutex);
    if (m_names.size() >= MaxNames)
        m_names.clear();
    return m_names.insert_or_assign(uid, std::move(name)).first->second;
}

} // namespace tfs::service::tasks
