// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/clean_cache.h>

namespace tfs::service::scan {
namespace {

std::int64_t Nanoseconds(const timespec& time) noexcept { return time.tv_sec * 1000000000ll + time.tv_nsec; }

} // namespace

std::size_t CleanCache::Hash::operator()(const Key& key) const noexcept {
    std::uint64_t mixed = (key.inode ^ (key.device << 40)) * 0x9E3779B97F4A7C15ull;
    return static_cast<std::size_t>(mixed ^ (mixed >> 32));
}

CleanCache::State CleanCache::StateOf(const struct stat& file) noexcept {
    return {static_cast<std::uint64_t>(file.st_size), Nanoseconds(file.st_ctim), Nanoseconds(file.st_mtim)};
}

void CleanCache::SetVersion(std::uint64_t basesVersion) {
    if (m_version == basesVersion)
        return;
    m_version = basesVersion;
    m_young.clear();
    m_old.clear();
}

void CleanCache::Insert(const Key& key, const State& state) {
    if (m_young.size() >= m_capacity) {
        m_old = std::move(m_young);
        m_young.clear();
    }
    m_young[key] = state;
}

bool CleanCache::Contains(const struct stat& file, std::uint64_t basesVersion) {
    const Key key{file.st_dev, file.st_ino};
    const State state = StateOf(file);
    ulk::LockGuard lock(m_lock);
    SetVersion(basesVersion);
    if (const auto found = m_young.find(key); found != m_young.end())
        return found->second == state;
    const auto found = m_old.find(key);
    if (found == m_old.end() || found->second != state)
        return false;
    Insert(key, state); // used again: keep it for another generation
    return true;
}

void CleanCache::Add(const struct stat& file, std::uint64_t basesVersion, const timespec& now) {
    if (now.tv_sec - file.st_ctim.tv_sec <= m_settleSeconds || now.tv_sec - file.st_mtim.tv_sec <= m_settleSeconds)
        return;
    ulk::LockGuard lock(m_lock);
    SetVersion(basesVersion);
    Insert({file.st_dev, file.st_ino}, StateOf(file));
}

void CleanCache::KeepOnly(dev_t device) {
    const auto elsewhere = [device](const auto& each) { return each.first.device != device; };
    ulk::LockGuard lock(m_lock);
    std::erase_if(m_young, elsewhere);
    std::erase_if(m_old, elsewhere);
}

std::size_t CleanCache::Size() const {
    ulk::LockGuard lock(m_lock);
    return m_young.size() + m_old.size();
}

} // namespace tfs::service::scan
