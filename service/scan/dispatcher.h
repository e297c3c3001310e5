// SPDX-License-Identifier: GPL-2.0-or-later
// The heart of the scanner's service side: keeps tesl-scanner and its workers alive and hands files to them.
// One thread of its own waits for the sockets; Submit sends from the caller's thread. No callback is made under the
// lock.
#pragma once

#include <foundation/sync.h>
#include <service/scan/clean_cache.h>
#include <service/scan/mount_watch.h>
#include <service/scan/scan_client.h>
#include <service/scan/scanner_process.h>
#include <service/scan/scanner_service.h>
#include <service/scan/worker_slot.h>

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
    ScannerState State() const ULK_EXCLUDES(m_lock);
    void SetStateChanged(std::function<void()> changed) ULK_EXCLUDES(m_lock);

    /// Known as a client until Detach; null while the scanner is not available (see State().error).
    std::shared_ptr<ClientState> Attach(std::shared_ptr<IScanClient> client) ULK_EXCLUDES(m_lock);
    /// Nothing is answered any more, but a call that is under way may still end.
    void Detach(const std::shared_ptr<ClientState>& client) ULK_EXCLUDES(m_lock);
    /// While paused nothing new is begun, and what is in work is held.
    void SetPaused(const std::shared_ptr<ClientState>& client, bool paused) ULK_EXCLUDES(m_lock);
    /// Takes a file over. False while the scanner is not available; the job is kept by the caller then.
    bool Submit(const std::shared_ptr<ClientState>& client, FileJob&& job) ULK_EXCLUDES(m_lock);

    CleanCache& Cache() noexcept { return m_cache; }
    /// Changes with every signature set; part of the cache's key.
    std::uint64_t BasesVersion() const ULK_EXCLUDES(m_lock);
    /// Processes of the parent and the workers, for tests and the trace.
    std::vector<pid_t> WorkerProcesses() const ULK_EXCLUDES(m_lock);
    pid_t ParentProcess() const ULK_EXCLUDES(m_lock);

private:
    enum class Phase {
        Stopped,
        Starting, ///< the process runs, signatures are being loaded
        Running,
        Waiting, ///< lost; started again at m_restartAt
        Failed,  ///< given up; State().error says why
    };
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

    void StartParent() ULK_REQUIRES(m_lock);
    void OnParent() ULK_REQUIRES(m_lock);
    void OnLoaded(const scanner::Message& message) ULK_REQUIRES(m_lock);
    void LoseParent(const char* why) ULK_REQUIRES(m_lock);
    void EndParent(int patienceMs) ULK_REQUIRES(m_lock);

    void OnWorkerStarted(scanner::Received& received) ULK_REQUIRES(m_lock);
    void OnWorker(std::uint64_t id) ULK_REQUIRES(m_lock);
    bool OnWorkerMessage(WorkerSlot& worker, const scanner::Message& message) ULK_REQUIRES(m_lock);
    bool OnVerdict(WorkerSlot& worker, const scanner::Message& message) ULK_REQUIRES(m_lock);
    void LoseWorker(std::uint64_t id) ULK_REQUIRES(m_lock);
    void GiveBack(Request request) ULK_REQUIRES(m_lock);

    void CheckDeadlines() ULK_REQUIRES(m_lock);
    void CheckWorker(WorkerSlot& worker, Clock::time_point now) ULK_REQUIRES(m_lock);
    void HoldWorker(WorkerSlot& worker, Clock::time_point now) ULK_REQUIRES(m_lock);
    void TakeBackBehind(WorkerSlot& worker) ULK_REQUIRES(m_lock);
    void KeepWorkers() ULK_REQUIRES(m_lock);
    void NoteSpawnFailure(const char* why) ULK_REQUIRES(m_lock);
    void RetireIdle() ULK_REQUIRES(m_lock);
    void Dispatch() ULK_REQUIRES(m_lock);
    WorkerSlot* FreeWorker() ULK_REQUIRES(m_lock);

    const ScannerConfig m_config;
    const std::uint32_t m_targetWorkers;
    const std::chrono::milliseconds m_fileTimeLimit;
    const ulk::Ptr<ulk::ITracer> m_tracer;
    CleanCache m_cache;
    MountWatch m_mounts ULK_GUARDED_BY(m_lock);

    ulk::Mutex m_threadLock; ///< one start or stop at a time
    std::thread m_thread;
    mutable ulk::Mutex m_lock;
    std::condition_variable_any m_changed;
    scanner::Descriptor m_poll ULK_GUARDED_BY(m_lock);
    scanner::Descriptor m_wake ULK_GUARDED_BY(m_lock);

    Phase m_phase ULK_GUARDED_BY(m_lock) = Phase::Stopped;
    bool m_stopping ULK_GUARDED_BY(m_lock) = false;
    bool m_stateDirty ULK_GUARDED_BY(m_lock) = false;
    ScannerState m_state ULK_GUARDED_BY(m_lock);
    std::uint64_t m_basesVersion ULK_GUARDED_BY(m_lock) = 0;
    std::function<void()> m_stateChanged ULK_GUARDED_BY(m_lock);

    ScannerProcess m_process ULK_GUARDED_BY(m_lock);
    unsigned m_losses ULK_GUARDED_BY(m_lock) = 0; ///< in a row, without signatures loaded between
    Clock::time_point m_phaseSince ULK_GUARDED_BY(m_lock);
    Clock::time_point m_restartAt ULK_GUARDED_BY(m_lock);
    std::chrono::milliseconds m_backOff ULK_GUARDED_BY(m_lock){0};

    std::map<std::uint64_t, WorkerSlot> m_workers ULK_GUARDED_BY(m_lock);
    std::uint64_t m_nextWorker ULK_GUARDED_BY(m_lock) = 1;
    std::uint32_t m_spawning ULK_GUARDED_BY(m_lock) = 0; ///< asked for and not yet there
    unsigned m_spawnFailures ULK_GUARDED_BY(m_lock) = 0; ///< in a row
    Clock::time_point m_spawnAskedAt ULK_GUARDED_BY(m_lock);
    Clock::time_point m_spawnNotBefore ULK_GUARDED_BY(m_lock);

    std::vector<std::shared_ptr<ClientState>> m_clients ULK_GUARDED_BY(m_lock);
    std::size_t m_nextClient ULK_GUARDED_BY(m_lock) = 0;
    std::uint64_t m_nextRequest ULK_GUARDED_BY(m_lock) = 1;
    std::vector<Callback> m_callbacks ULK_GUARDED_BY(m_lock);
};

} // namespace tfs::service::scan
