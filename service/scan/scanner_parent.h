// SPDX-License-Identifier: GPL-2.0-or-later
// One tesl-scanner with one signature set: its process, how far it is, and the workers that were asked of it. While
// sets are exchanged there are two. Used by the dispatcher only, under its lock; nothing here waits.
#pragma once

#include <service/scan/scanner_process.h>
#include <service/scan/worker_slot.h>

#include <cstdint>
#include <map>
#include <string>

namespace tfs::service::scan {

class ScannerParent {
public:
    enum class Phase {
        Stopped,
        Starting, ///< the process runs, signatures are being loaded
        Running,
        Waiting, ///< lost; to be started again when RestartIsDue
        Failed,  ///< given up; Error() says why
    };
    /// What it says of the signatures that it has loaded.
    struct LoadedSet {
        std::uint64_t version = 0; ///< changes with every set; the same after a restart
        std::uint64_t signatures = 0;
        std::int64_t date = 0; ///< seconds since the Unix epoch
        std::string engineVersion;
        std::string sandbox;
    };

    /// `number` tells parents apart and is never used again; `config` says which signatures it is for.
    ScannerParent(std::uint64_t number, ScannerConfig config) : m_number(number), m_config(std::move(config)) {}

    std::uint64_t Number() const noexcept { return m_number; }
    Phase At() const noexcept { return m_phase; }
    const std::string& Error() const noexcept { return m_error; }
    const LoadedSet& Set() const noexcept { return m_set; }
    const std::string& BasesFolder() const noexcept { return m_config.basesFolder; }
    pid_t Process() const noexcept { return m_process.Pid(); }
    int Control() const noexcept { return m_process.Control(); }

    /// Starts the process, or starts it again: Starting, or Failed.
    void Start();
    /// The process says that it is ready: Running, or Failed where it is of another version.
    void Loaded(const scanner::Message& message);
    /// The process is of no use any more and is killed: Waiting, or Failed after too many losses in a row.
    void Lose();
    void Fail(std::string error);
    /// It is not needed any more: the process is asked to end.
    void Leave() noexcept;
    /// Whether nothing is left of the process. Kills one that takes too long after Leave.
    bool IsGone() noexcept { return m_process.IsGone(); }
    /// Ends the process and waits for it.
    void End(int patienceMs) noexcept;

    /// Why the process has to be taken for lost, or null.
    const char* Overdue(Clock::time_point now) const noexcept;
    bool RestartIsDue(Clock::time_point now) const noexcept { return m_phase == Phase::Waiting && now >= m_restartAt; }

    /// Asks for a worker. False while it is no time to ask.
    bool Spawn(std::uint64_t id, WorkerKind kind, Clock::time_point now);
    /// Workers that were asked for and are not there yet.
    std::uint32_t Spawning(WorkerKind kind) const noexcept;
    bool IsSpawning() const noexcept { return !m_asked.empty(); }
    /// The answer to Spawn. False when nobody asked for it.
    bool TakeAsked(std::uint64_t id, WorkerKind& kind) noexcept;
    /// Puts the next try off. True after too many failures in a row.
    bool NoteSpawnFailure(Clock::time_point now) noexcept;
    void NoteWorkerReady() noexcept { m_spawnFailures = 0; }

private:
    const std::uint64_t m_number;
    const ScannerConfig m_config;
    ScannerProcess m_process;
    Phase m_phase = Phase::Stopped;
    std::string m_error;
    LoadedSet m_set;
    Clock::time_point m_phaseSince;
    unsigned m_losses = 0; ///< in a row, without signatures loaded between
    Clock::time_point m_restartAt;
    std::chrono::milliseconds m_backOff{0};
    std::map<std::uint64_t, WorkerKind> m_asked; ///< workers asked for and not yet there
    Clock::time_point m_askedAt;
    Clock::time_point m_askNotBefore;
    unsigned m_spawnFailures = 0; ///< in a row
};

/// What a scanner's process says, without control characters.
std::string Printable(std::string_view text);

} // namespace tfs::service::scan
