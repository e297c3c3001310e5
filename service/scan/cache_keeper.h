// SPDX-License-Identifier: GPL-2.0-or-later
// Keeps the cache of clean files over restarts of the service: reads it from a file, writes it there every few minutes
// and at the end.
#pragma once

#include <foundation/sync.h>
#include <service/scan/clean_cache.h>

#include <condition_variable>
#include <string>
#include <thread>

namespace tfs::service::scan {

/// Reads the file into the cache. What was damaged, belongs to somebody else or can be written by others, is of another
/// system, or was written later than it is now, is not used. While the service is down file systems may be exchanged,
/// so only files of the root device are in the file, and only those of this very root file system are taken from it;
/// where its device number is given anew at each mount, only while the machine hasn't been started anew. Says why
/// nothing was read; empty where it was.
std::string LoadCleanCache(const std::string& path, dev_t rootDevice, CleanCache& cache);
/// Writes the file anew, so that a crash leaves the old one or the new one. False where that failed.
bool SaveCleanCache(const std::string& path, dev_t rootDevice, const CleanCache& cache);

class CacheKeeper {
public:
    static constexpr std::chrono::minutes Interval{5};

    /// Outlived by the cache. With an empty path it does nothing.
    CacheKeeper(std::string path, dev_t rootDevice, CleanCache& cache)
        : m_path(std::move(path)), m_rootDevice(rootDevice), m_cache(cache) {}
    ~CacheKeeper() { Stop(); }
    CacheKeeper(const CacheKeeper&) = delete;
    CacheKeeper& operator=(const CacheKeeper&) = delete;

    /// Reads the file and begins to write it. Says why nothing was read. A second Start does nothing.
    std::string Start() ULK_EXCLUDES(m_lock, m_threadLock);
    void Stop() noexcept ULK_EXCLUDES(m_lock, m_threadLock);

private:
    void Run() noexcept ULK_EXCLUDES(m_lock);

    const std::string m_path;
    const dev_t m_rootDevice;
    CleanCache& m_cache;
    std::uint64_t m_written = 0; ///< the cache's changes that the file holds; the thread's own
    ulk::Mutex m_threadLock;
    std::thread m_thread ULK_GUARDED_BY(m_threadLock);
    ulk::Mutex m_lock;
    std::condition_variable_any m_wake;
    bool m_stopping ULK_GUARDED_BY(m_lock) = false;
};

} // namespace tfs::service::scan
