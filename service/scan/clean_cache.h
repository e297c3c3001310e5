// SPDX-License-Identifier: GPL-2.0-or-later
// Files known to be clean, so that an unchanged tree is not scanned twice. Any thread.
#pragma once

#include <foundation/sync.h>

#include <cstddef>
#include <cstdint>
#include <sys/stat.h>
#include <unordered_map>

namespace tfs::service::scan {

class CleanCache {
public:
    /// Writes through a mapping may change a page again and again with no other time stamp than the first one's, until
    /// the page has been written to the disk.
    static constexpr std::int64_t SettleSeconds = 60;

    /// `capacity`: files in each of two generations; the older one is dropped when the younger is full.
    explicit CleanCache(std::size_t capacity = 500000, std::int64_t settleSeconds = SettleSeconds)
        : m_capacity(capacity), m_settleSeconds(settleSeconds) {}

    /// True when this very state of the file was found clean with this signature set.
    bool Contains(const struct stat& file, std::uint64_t basesVersion) ULK_EXCLUDES(m_lock);
    /// Notes a file as clean. `now` is the time at which `file` was taken: a file that changed shortly before it is not
    /// noted, because a later change might leave the same times.
    void Add(const struct stat& file, std::uint64_t basesVersion, const timespec& now) ULK_EXCLUDES(m_lock);
    /// Forgets all files but those of one device.
    void KeepOnly(dev_t device) ULK_EXCLUDES(m_lock);
    std::size_t Size() const ULK_EXCLUDES(m_lock);

private:
    struct Key {
        std::uint64_t device;
        std::uint64_t inode;
        friend bool operator==(const Key&, const Key&) = default;
    };
    struct Hash {
        std::size_t operator()(const Key& key) const noexcept;
    };
    struct State {
        std::uint64_t size;
        std::int64_t changed;  ///< status change, nanoseconds
        std::int64_t modified; ///< contents, nanoseconds
        friend bool operator==(const State&, const State&) = default;
    };
    using Files = std::unordered_map<Key, State, Hash>;

    static State StateOf(const struct stat& file) noexcept;
    void SetVersion(std::uint64_t basesVersion) ULK_REQUIRES(m_lock);
    void Insert(const Key& key, const State& state) ULK_REQUIRES(m_lock);

    const std::size_t m_capacity;
    const std::int64_t m_settleSeconds;
    mutable ulk::Mutex m_lock;
    std::uint64_t m_version ULK_GUARDED_BY(m_lock) = 0;
    Files m_young ULK_GUARDED_BY(m_lock);
    Files m_old ULK_GUARDED_BY(m_lock);
};

} // namespace tfs::service::scan
