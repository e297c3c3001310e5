// SPDX-License-Identifier: GPL-2.0-or-later
// Files known to be clean, so that an unchanged tree is not scanned twice. Any thread.
#pragma once

#include <foundation/sync.h>
#include <service/scan/keyed_hash.h>

#include <cstddef>
#include <cstdint>
#include <sys/stat.h>
#include <vector>

namespace tfs::service::scan {

/// A table of fixed size, whatever is scanned. Of each file a hash is kept, under a secret key, of its device, inode,
/// size and times of change: any change of the file that the kernel stamps makes it another file here.
///
/// The times come from the system's clock. Whoever may set that clock, which is root, can give a changed file the times
/// of the old one by setting it to the very nanosecond; nothing here guards against that. That a change falls into the
/// same tick of the clock as the one before is what the settle time guards against.
class CleanCache {
public:
    /// Writes through a mapping may change a page again and again with no other time stamp than the first one's, until
    /// the page has been written to the disk.
    static constexpr std::int64_t SettleSeconds = 60;
    static constexpr std::size_t Capacity = std::size_t{1} << 20;

    /// What outlives the process.
    struct Kept {
        std::uint64_t basesVersion = 0;
        HashKey key{};
        std::vector<std::uint64_t> slots;
    };

    /// `capacity`: files, a power of two from 8. `rootDevice`: the device that stays as long as the system runs.
    explicit CleanCache(std::size_t capacity = Capacity, std::int64_t settleSeconds = SettleSeconds,
                        dev_t rootDevice = 0);

    /// From now on verdicts of this signature set count; those of another one are forgotten.
    void Use(std::uint64_t basesVersion) ULK_EXCLUDES(m_lock);
    /// True when this very state of the file was found clean with the signature set in use.
    bool Contains(const struct stat& file) ULK_EXCLUDES(m_lock);
    /// Notes a file as clean, unless that is the verdict of another set than the one in use. `now` is the time at which
    /// `file` was taken: a file that changed shortly before it is not noted, because a later change might leave the
    /// same times.
    void Add(const struct stat& file, std::uint64_t basesVersion, const timespec& now) ULK_EXCLUDES(m_lock);
    /// Forgets all files but those of the root device.
    void KeepRootDevice() ULK_EXCLUDES(m_lock);
    std::size_t Size() const ULK_EXCLUDES(m_lock);

    /// Grows with every change.
    std::uint64_t Changes() const ULK_EXCLUDES(m_lock);
    /// The files of the root device.
    Kept Keep() const ULK_EXCLUDES(m_lock);
    /// False, and nothing changes, where it is of another size.
    bool Restore(Kept kept) ULK_EXCLUDES(m_lock);

private:
    std::uint64_t HashOf(const struct stat& file) const noexcept ULK_REQUIRES(m_lock);
    std::uint64_t* SetOf(std::uint64_t hash) noexcept ULK_REQUIRES(m_lock);

    const std::int64_t m_settleSeconds;
    const dev_t m_rootDevice;
    mutable ulk::Mutex m_lock;
    std::uint64_t m_version ULK_GUARDED_BY(m_lock) = 0;
    std::uint64_t m_changes ULK_GUARDED_BY(m_lock) = 0;
    HashKey m_key ULK_GUARDED_BY(m_lock);
    std::vector<std::uint64_t> m_slots ULK_GUARDED_BY(m_lock); ///< sets of files, the last used in front; 0: none
};

} // namespace tfs::service::scan
