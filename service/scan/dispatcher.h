// SPDX-License-Identifier: GPL-2.0-or-later
// The heart of the scanner's service side: keeps tesl-scanner and its workers alive and hands files to them.
// One thread of its own waits for the sockets; Submit sends from the caller's thread. No callback is made under the
// lock.
#pragma once

#include <foundation/sync.h>
#include <service/scan/cache_keeper.h>
#include <service/scan/clean_cache.h>
#include <service/scan/load_watch.h>
#include <service/scan/mount_watch.h>
#include <service/scan/scan_client.h>
#include <service/scan/scanner_parent.h>
#include <service/scan/scanner_service.h>
#include <service/scan/worker_slot.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <thread>
#include <vector>

namespace tfs::service::scan {

class ScannerService::Impl {
public:
    Impl(ScannerConfig config, ulk::Ptr<ulk::ITracer> tracer);
    ~Impl();

    result_t Start() ULK_EXCLUDES(m_lock);
    void Stop() noexcept ULK_EXCLUDES(m_lock);
    result_t Replace(const std::string& basesFolder, const std::function<bool()>& cancelled, std::string& why)
        ULK_EXCLUDES(m_lock);
    ScannerState State() const ULK_EXCLUDES(m_lock);
    void SetStateChanged(std::function<void()> changed) ULK_EXCLUDES(m_lock);

    /// Known as a client until Detach; null while the scanner is not available (see State().error).
    std::shared_ptr<ClientState> Attach(std::shared_ptr<IScanClient> client, WorkerKind kind = WorkerKind::Normal)
        ULK_EXCLUDES(m_lock);
    /// Nothing is answered any more, but a call that is under way may still end.
    void Detach(const std::shared_ptr<ClientState>& client) ULK_EXCLUDES(m_lock);
    /// While paused nothing new is begun, and what is in work is held.
    void SetPaused(const std::shared_ptr<ClientState>& client, bool paused) ULK_EXCLUDES(m_lock);
    /// Takes a file over. False while the scanner is not available; the job is kept by the caller then.
    bool Submit(const std::shared_ptr<ClientState>& client, FileJob&& job) ULK_EXCLUDES(m_lock);

    CleanCache& Cache() noexcept { return m_cache; }
    /// Open files that a client may have in hand: fewer where there are many clients.
    std::size_t FilesAtOnce() const noexcept { return m_filesAtOnce.load(std::memory_order_relaxed); }
    /// Changes with every signature set and stays over restarts.
    std::uint64_t BasesVersion() const ULK_EXCLUDES(m_lock);
    /// Processes of the parent and the workers, for tests and the trace.
    std::vector<pid_t> WorkerProcesses() const ULK_EXCLUDES(m_lock);
    pid_t ParentProcess() const ULK_EXCLUDES(m_lock);
    /// Process of the parent that loads another set; -1 where there is none.
    pid_t NextParentProcess() const ULK_EXCLUDES(m_lock);

private:
    using Phase = ScannerParent::Phase;
    /// A call to a client, made when the lock is free.
    struct Callback {
        std::shared_ptr<IScanClient> client;
        std::uint64_t token = 0;
        std::uint64_t bytes = 0;
        bool isVerdict = false;
        FileVerdict verdict;
    };

    struct Calls {
        std::vector<Callback> toClients;
        std::function<void()> stateChanged;
    };

    void Loop() ULK_EXCLUDES(m_lock);
    void AskToStop() noexcept ULK_EXCLUDES(m_lock);
    int Timeout() const ULK_REQUIRES(m_lock);
    void Wake() noexcept ULK_REQUIRES(m_lock);
    Calls TakeCalls() ULK_REQUIRES(m_lock);
    static void Make(Calls calls);
    void Answer(Request& request, FileVerdict verdict) ULK_REQUIRES(m_lock);
    void Unavailable(const std::string& error) ULK_REQUIRES(m_lock);

    ScannerParent* FindParent(std::uint64_t number) ULK_REQUIRES(m_lock);
    void StartParent(ScannerParent& parent) ULK_REQUIRES(m_lock);
    void OnParent(std::uint64_t number) ULK_REQUIRES(m_lock);
    void OnLoaded(ScannerParent& parent, const scanner::Message& message) ULK_REQUIRES(m_lock);
    void LoseParent(ScannerParent& parent, const char* why) ULK_REQUIRES(m_lock);
    void FailParent(ScannerParent& parent, const std::string& why) ULK_REQUIRES(m_lock);
    void LoseWorkersOf(const ScannerParent& parent) ULK_REQUIRES(m_lock);
    void CheckParents() ULK_REQUIRES(m_lock);
    void TakeIntoUse(const ScannerParent& parent) ULK_REQUIRES(m_lock);
    void SwapIfReady() ULK_REQUIRES(m_lock);
    void DropNext(const std::string& why) ULK_REQUIRES(m_lock);
    void LetGo(std::unique_ptr<ScannerParent> parent) ULK_REQUIRES(m_lock);

    void OnWorkerStarted(ScannerParent& parent, scanner::Received& received) ULK_REQUIRES(m_lock);
    void OnWorker(std::uint64_t id) ULK_REQUIRES(m_lock);
    bool OnWorkerMessage(WorkerSlot& worker, const scanner::Message& message) ULK_REQUIRES(m_lock);
    bool OnVerdict(WorkerSlot& worker, const scanner::Message& message) ULK_REQUIRES(m_lock);
    void LoseWorker(std::uint64_t id) ULK_REQUIRES(m_lock);
    void GiveBack(Request request) ULK_REQUIRES(m_lock);

    void CheckWorkers() ULK_REQUIRES(m_lock);
    void CheckWorker(WorkerSlot& worker, Clock::time_point now) ULK_REQUIRES(m_lock);
    std::chrono::milliseconds TimeFor(const WorkerSlot& worker, const FileJob& job) const;
    void HoldWorker(WorkerSlot& worker, Clock::time_point now) ULK_REQUIRES(m_lock);
    void TakeBackBehind(WorkerSlot& worker) ULK_REQUIRES(m_lock);
    std::uint32_t Target(const ScannerParent& parent, WorkerKind kind) const ULK_REQUIRES(m_lock);
    std::uint32_t CountWorkers(const ScannerParent& parent, WorkerKind kind) const ULK_REQUIRES(m_lock);
    std::uint32_t CountReady(const ScannerParent& parent, WorkerKind kind) const ULK_REQUIRES(m_lock);
    bool HasLowClients() const ULK_REQUIRES(m_lock);
    void LookAtLoad() ULK_REQUIRES(m_lock);
    void KeepWorkers(ScannerParent& parent) ULK_REQUIRES(m_lock);
    void NoteSpawnFailure(ScannerParent& parent, const std::string& why) ULK_REQUIRES(m_lock);
    void RetireIdle() ULK_REQUIRES(m_lock);
    void ShareFiles() ULK_REQUIRES(m_lock);
    void Dispatch() ULK_REQUIRES(m_lock);
    WorkerSlot* FreeWorker(WorkerKind kind) ULK_REQUIRES(m_lock);

    const ScannerConfig m_config;
    const std::uint32_t m_targetWorkers;
    const std::chrono::milliseconds m_fileTimeLimit;
    const ulk::Ptr<ulk::ITracer> m_tracer;
    CleanCache m_cache;
    CacheKeeper m_keeper;
    MountWatch m_mounts ULK_GUARDED_BY(m_lock);
    LoadWatch m_load ULK_GUARDED_BY(m_lock);

    ulk::Mutex m_threadLock;  ///< one start or stop at a time
    ulk::Mutex m_replaceLock; ///< one exchange of signatures at a time
    std::thread m_thread;
    mutable ulk::Mutex m_lock;
    std::condition_variable_any m_changed;
    scanner::Descriptor m_poll ULK_GUARDED_BY(m_lock);
    scanner::Descriptor m_wake ULK_GUARDED_BY(m_lock);

    bool m_stopping ULK_GUARDED_BY(m_lock) = false;
    bool m_stateDirty ULK_GUARDED_BY(m_lock) = false;
    ScannerState m_state ULK_GUARDED_BY(m_lock);
    std::function<void()> m_stateChanged ULK_GUARDED_BY(m_lock);

    std::unique_ptr<ScannerParent> m_parent ULK_GUARDED_BY(m_lock); ///< never null
    std::unique_ptr<ScannerParent> m_next ULK_GUARDED_BY(m_lock);   ///< loads another set; null where none is asked for
    std::vector<std::unique_ptr<ScannerParent>> m_leaving ULK_GUARDED_BY(m_lock); ///< finish what they have in hand
    std::uint64_t m_nextParent ULK_GUARDED_BY(m_lock) = 1;
    bool m_swapped ULK_GUARDED_BY(m_lock) = false; ///< what became of m_next
    std::string m_swapError ULK_GUARDED_BY(m_lock);

    std::map<std::uint64_t, WorkerSlot> m_workers ULK_GUARDED_BY(m_lock); ///< of all parents
    std::uint64_t m_nextWorker ULK_GUARDED_BY(m_lock) = 1;

    std::vector<std::shared_ptr<ClientState>> m_clients ULK_GUARDED_BY(m_lock);
    std::size_t m_nextClient ULK_GUARDED_BY(m_lock) = 0;
    std::atomic<std::size_t> m_filesAtOnce{0};
    std::uint64_t m_nextRequest ULK_GUARDED_BY(m_lock) = 1;
    std::vector<Callback> m_callbacks ULK_GUARDED_BY(m_lock);
};

} // namespace tfs::service::scan
