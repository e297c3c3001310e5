// SPDX-License-Identifier: GPL-2.0-or-later
// What the threads of one scan run share: the walker opens files and submits them, the scanner's thread brings
// verdicts, the caller of Run() passes on what is worth telling. Lives as long as the last of them.
#pragma once

#include <foundation/sync.h>
#include <service/scan/checkpoint_trail.h>
#include <service/scan/dispatcher.h>
#include <service/scan/file_walker.h>
#include <service/scan/link_ledger.h>
#include <service/scan/scan_run.h>
#include <service/scan/scan_source.h>
#include <service/scan/scan_tally.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <thread>
#include <unordered_map>
#include <variant>

namespace tfs::service::scan {

/// What ends a run where the scanner says nothing better of itself.
inline constexpr char NoScanner[] = "the scanner is not available";

class RunCore final : public IScanClient, public IWalkVisitor, public std::enable_shared_from_this<RunCore> {
public:
    RunCore(const std::shared_ptr<ScannerService::Impl>& scanner, ScanOptions options,
            std::unique_ptr<IScanSource> source);

    /// The whole run, on the calling thread.
    ScanResult Run(IScanObserver& observer) ULK_EXCLUDES(m_lock);
    void Stop() noexcept ULK_EXCLUDES(m_lock);
    void SetPaused(bool paused) noexcept ULK_EXCLUDES(m_lock);

    void OnVerdict(std::uint64_t token, FileVerdict verdict) override ULK_EXCLUDES(m_lock);
    void OnBytes(std::uint64_t token, std::uint64_t bytes) override ULK_EXCLUDES(m_lock);

    void OnFile(const FoundFile& file) override ULK_EXCLUDES(m_lock);
    void OnOpened(const std::string& path, scanner::Descriptor descriptor, FileSystemKind fileSystem) override
        ULK_EXCLUDES(m_lock);
    void OnSkipped(const std::string& path) override ULK_EXCLUDES(m_lock);
    void OnUnreadable(const std::string& path, int error, const std::string& reason) override ULK_EXCLUDES(m_lock);
    bool GoOn() override ULK_EXCLUDES(m_lock);

private:
    using Notable = std::variant<ThreatFound, NotProcessed>;
    /// A file in the scanner's hands.
    struct FileInWork {
        std::string path;
        struct stat status;
        timespec takenAt;
        std::uint64_t bytes = 0;
        bool cacheable = false;
        bool manyNames = false; ///< the ledger of links waits for its verdict
    };
    enum class Opened { Yes, Gone, Special, Failed };

    void Walk() noexcept ULK_EXCLUDES(m_lock);
    void Count() noexcept ULK_EXCLUDES(m_lock);
    void WaitBeforeCounting() ULK_EXCLUDES(m_lock);
    void WalkAreas(IWalkVisitor& visitor, const std::string& goOnBehind);
    void Watch(IScanObserver& observer) ULK_EXCLUDES(m_lock);
    void WaitForThreads(std::thread& walker, std::thread& counter) ULK_EXCLUDES(m_lock);
    std::size_t MostInWork() const;
    bool WaitForRoom() ULK_EXCLUDES(m_lock);
    bool SettledByOtherName(const FoundFile& file) ULK_EXCLUDES(m_lock);
    void Withdraw(const FoundFile& file) ULK_EXCLUDES(m_lock);
    ScanProgress NotOpened(const FoundFile& file, Opened why, int error) ULK_EXCLUDES(m_lock);
    static Opened Open(const FoundFile& file, FileInWork& work, scanner::Descriptor& descriptor, int& error);
    static std::shared_ptr<const scanner::Descriptor> OpenAgain(const FoundFile& file);
    bool KnownAsClean(const FileInWork& work) const;
    void HandOver(FileInWork work, scanner::Descriptor descriptor) ULK_EXCLUDES(m_lock);
    // Those of these that return counts have counted them already; the trail is still to be told.
    ScanProgress Settle(const std::string& path, const struct stat& status, const FileVerdict& verdict, bool read)
        ULK_EXCLUDES(m_lock);
    /// Settle for the file and for its other names that waited; returns the file's own counts.
    ScanProgress SettleAll(const FileInWork& file, const FileVerdict& verdict) ULK_EXCLUDES(m_lock);
    void Tell(Notable notable) ULK_EXCLUDES(m_lock);
    void Fail(const std::string& error) ULK_EXCLUDES(m_lock);
    /// What was settled before the call is told; the checkpoint only where `checkpoint` is true.
    void PassOn(IScanObserver& observer, bool checkpoint) ULK_EXCLUDES(m_lock);
    void Passed(const std::string& path, const ScanProgress& counts) ULK_EXCLUDES(m_lock);

    const std::weak_ptr<ScannerService::Impl> m_scanner; ///< gone when a thread comes back late from the file system
    const ScanOptions m_options;
    const std::unique_ptr<IScanSource> m_source;
    ScanTally m_tally;
    std::atomic<bool> m_stop{false};

    ulk::Mutex m_lock;
    std::condition_variable_any m_room;  ///< the walker waits here
    std::condition_variable_any m_event; ///< Run() waits here
    std::shared_ptr<ClientState> m_client ULK_GUARDED_BY(m_lock);
    std::unordered_map<std::uint64_t, FileInWork> m_inWork ULK_GUARDED_BY(m_lock);
    std::uint64_t m_nextToken ULK_GUARDED_BY(m_lock) = 1;
    LinkLedger m_links ULK_GUARDED_BY(m_lock);
    CheckpointTrail m_trail ULK_GUARDED_BY(m_lock);
    std::string m_checkpoint; ///< the last one that was told; Run()'s thread only
    std::deque<Notable> m_notables ULK_GUARDED_BY(m_lock);
    std::size_t m_threatsToTell ULK_GUARDED_BY(m_lock) = 0; ///< found, and not passed on
    std::string m_error ULK_GUARDED_BY(m_lock);
    bool m_paused ULK_GUARDED_BY(m_lock) = false;
    bool m_walked ULK_GUARDED_BY(m_lock) = false;
    bool m_counted ULK_GUARDED_BY(m_lock) = false;
};

} // namespace tfs::service::scan
