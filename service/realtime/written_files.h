// SPDX-License-Identifier: GPL-2.0-or-later
// Looks at files when they have been written: nobody waits for it.
#pragma once

#include <foundation/sync.h>
#include <service/realtime/call_count.h>
#include <service/realtime/fanotify_group.h>
#include <service/realtime/file_screen.h>
#include <service/realtime/findings_desk.h>
#include <service/realtime/wake_event.h>
#include <service/scan/dispatcher.h>
#include <service/scan/file_systems.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace tfs::service::realtime {

/// One thread takes events; it may wait for the scanner, and the kernel keeps events meanwhile, up to a limit of its
/// own.
class WrittenFiles final : public scan::IScanClient {
public:
    struct Options {
        bool scan = true; ///< false: only the gate is told to heed them again
        std::size_t mostInWork = 128;
        /// Called without a lock when events were lost or couldn't be looked at: files that changed at or after this
        /// time, in seconds since the Unix epoch, may have been missed.
        std::function<void(std::time_t since)> onMissed;
    };
    WrittenFiles(std::shared_ptr<scan::ScannerService::Impl> scanner, std::shared_ptr<FanotifyGroup> group,
                 std::shared_ptr<FanotifyGroup> gate, std::shared_ptr<FileScreen> screen,
                 std::shared_ptr<FindingsDesk> desk, Options options);

    /// False where the scanner is not available.
    bool Start(const std::shared_ptr<WrittenFiles>& self);
    void Stop() noexcept ULK_EXCLUDES(m_lock);
    /// For files that came without being written. Opens it, and waits for nothing else: where there is too much to do
    /// it is told as missed.
    void Look(const std::string& path) ULK_EXCLUDES(m_lock);

    void OnVerdict(std::uint64_t token, scan::FileVerdict verdict) override ULK_EXCLUDES(m_lock);
    void OnBytes(std::uint64_t, std::uint64_t) override {}

private:
    using Inode = std::pair<dev_t, ino_t>;
    struct InWork {
        SeenFile file;
        bool cacheable = false;
        scanner::Descriptor again{}; ///< written anew meanwhile
    };

    void Read() noexcept ULK_EXCLUDES(m_lock);
    void TakeEvents(std::vector<AccessEvent>& events) ULK_EXCLUDES(m_lock);
    void Scan(scanner::Descriptor file, SeenFile seen) ULK_EXCLUDES(m_lock);
    bool HasRoom() const ULK_REQUIRES(m_lock) { return m_inWork.size() < m_options.mostInWork; }
    void WaitForRoom() ULK_EXCLUDES(m_lock);
    void Missed(std::time_t since) const;

    const std::shared_ptr<scan::ScannerService::Impl> m_scanner;
    const std::shared_ptr<FanotifyGroup> m_group;
    const std::shared_ptr<FanotifyGroup> m_gate;
    const std::shared_ptr<FileScreen> m_screen;
    const std::shared_ptr<FindingsDesk> m_desk;
    const Options m_options;
    std::shared_ptr<scan::ClientState> m_client;
    CallCount m_calls; ///< of the scanner's
    WakeEvent m_wake;
    std::atomic<bool> m_stopping{false};
    std::atomic<std::time_t> m_upToDate; ///< when nothing was left to be taken

    ulk::Mutex m_lock;
    std::condition_variable_any m_room;
    scan::FileSystems m_fileSystems ULK_GUARDED_BY(m_lock);
    std::map<std::uint64_t, InWork> m_inWork ULK_GUARDED_BY(m_lock);
    std::map<Inode, std::uint64_t> m_byInode ULK_GUARDED_BY(m_lock);
    std::uint64_t m_nextToken ULK_GUARDED_BY(m_lock) = 1;
    std::thread m_reader;
};

} // namespace tfs::service::realtime
