// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/clean_cache.h>

#include <algorithm>
#include <cerrno>
#include <sys/random.h>
#include <system_error>

namespace tfs::service::scan {
namespace {

constexpr std::size_t SetSize = 8;
/// The bit of a hash that says whether the file lies on the root device.
constexpr std::uint64_t OnRoot = 1;

std::uint64_t Nanoseconds(const timespec& time) noexcept {
    return static_cast<std::uint64_t>(time.tv_sec) * 1000000000u + static_cast<std::uint64_t>(time.tv_nsec);
}

HashKey NewKey() {
    HashKey key{};
    while (::getrandom(key.data(), sizeof key, 0) != static_cast<ssize_t>(sizeof key))
        if (errno != EINTR)
            throw std::system_error(errno, std::generic_category(), "getrandom");
    return key;
}

} // namespace

CleanCache::CleanCache(std::size_t capacity, std::int64_t settleSeconds, dev_t rootDevice)
    : m_settleSeconds(settleSeconds), m_rootDevice(rootDevice), m_key(NewKey()), m_slots(capacity) {}

std::uint64_t CleanCache::HashOf(const struct stat& file) const noexcept {
    const std::uint64_t words[] = {file.st_dev, file.st_ino, static_cast<std::uint64_t>(file.st_size),
                                   Nanoseconds(file.st_ctim), Nanoseconds(file.st_mtim)};
    const std::uint64_t hash = KeyedHash(m_key, words) & ~OnRoot;
    // 0 is an empty slot.
    return (hash == 0 ? OnRoot << 1 : hash) | (file.st_dev == m_rootDevice ? OnRoot : 0);
}

std::uint64_t* CleanCache::SetOf(std::uint64_t hash) noexcept {
    return m_slots.data() + (hash >> 8) % (m_slots.size() / SetSize) * SetSize;
}

void CleanCache::Use(std::uint64_t basesVersion) {
    ulk::LockGuard lock(m_lock);
    if (m_version == basesVersion)
        return;
    m_version = basesVersion;
    ++m_changes;
    std::fill(m_slots.begin(), m_slots.end(), 0);
}

bool CleanCache::Contains(const struct stat& file) {
    ulk::LockGuard lock(m_lock);
    const std::uint64_t hash = HashOf(file);
    std::uint64_t* set = SetOf(hash);
    std::uint64_t* found = std::find(set, set + SetSize, hash);
    if (found == set + SetSize)
        return false;
    std::rotate(set, found, found + 1);
    return true;
}

void CleanCache::Add(const struct stat& file, std::uint64_t basesVersion, const timespec& now) {
    if (now.tv_sec - file.st_ctim.tv_sec <= m_settleSeconds || now.tv_sec - file.st_mtim.tv_sec <= m_settleSeconds)
        return;
    ulk::LockGuard lock(m_lock);
    if (m_version != basesVersion)
        return;
    const std::uint64_t hash = HashOf(file);
    std::uint64_t* set = SetOf(hash);
    std::uint64_t* place = std::find(set, set + SetSize - 1, hash); // or that of the one not used for longest
    *place = hash;
    std::rotate(set, place, place + 1);
    ++m_changes;
}

void CleanCache::KeepRootDevice() {
    ulk::LockGuard lock(m_lock);
    for (std::uint64_t& slot : m_slots)
        if ((slot & OnRoot) == 0)
            slot = 0;
}

std::size_t CleanCache::Size() const {
    ulk::LockGuard lock(m_lock);
    return m_slots.size() - static_cast<std::size_t>(std::count(m_slots.begin(), m_slots.end(), 0));
}

std::uint64_t CleanCache::Changes() const {
    ulk::LockGuard lock(m_lock);
    return m_changes;
}

CleanCache::Kept CleanCache::Keep() const {
    Kept kept;
    {
        ulk::LockGuard lock(m_lock);
        kept = {m_version, m_key, m_slots};
    }
    for (std::uint64_t& slot : kept.slots)
        if ((slot & OnRoot) == 0)
            slot = 0;
    return kept;
}

bool CleanCache::Restore(Kept kept) {
    ulk::LockGuard lock(m_lock);
    if (kept.slots.size() != m_slots.size())
        return false;
    m_version = kept.basesVersion;
    m_key = kept.key;
    m_slots = std::move(kept.slots);
    return true;
}

} // namespace tfs::service::scan
