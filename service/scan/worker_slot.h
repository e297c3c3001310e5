// SPDX-License-Identifier: GPL-2.0-or-later
// What the dispatcher knows of one worker and of the requests that it has in hand. Guarded by the dispatcher's lock.
#pragma once

#include <service/scan/scan_client.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <sys/types.h>

namespace tfs::service::scan {

using Clock = std::chrono::steady_clock;

struct ClientState;

/// Two sets of workers, so that nobody who waits for a file stands in line behind a scan of the whole disk.
enum class WorkerKind : std::uint32_t {
    Normal = 0,
    Low = 1, ///< runs when the processor and the disk have nothing better to do
};

/// One file on its way.
struct Request {
    std::uint64_t id = 0;
    FileJob job;
    std::shared_ptr<ClientState> client; ///< null once nobody wants the answer
    unsigned attempts = 0;               ///< workers that were lost or killed over it
    unsigned parentLosses = 0;           ///< times that the whole scanner went away under it
    bool held = false;                   ///< was stopped by a pause while in work
    Clock::time_point cancelledAt;       ///< with a null client: since when
};

/// A client of the dispatcher and what it waits for.
struct ClientState {
    std::shared_ptr<IScanClient> client;
    std::deque<Request> queue;
    WorkerKind kind = WorkerKind::Normal; ///< of the workers that serve it
    bool paused = false;
    Clock::time_point pausedAt;
};

/// Where a worker comes from.
struct WorkerOrigin {
    std::uint64_t parent = 0;       ///< number of the parent that forked it
    std::uint64_t basesVersion = 0; ///< of the signatures that it scans with
    WorkerKind kind = WorkerKind::Normal;
};

class WorkerSlot {
public:
    WorkerSlot(std::uint64_t id, const WorkerOrigin& origin, pid_t pid, scanner::Descriptor channel,
               scanner::Descriptor handle);
    /// The process ends with its slot, whatever it is at.
    ~WorkerSlot() { Signal(SIGKILL); }
    WorkerSlot(const WorkerSlot&) = delete;
    WorkerSlot& operator=(const WorkerSlot&) = delete;

    std::uint64_t Id() const noexcept { return m_id; }
    const WorkerOrigin& Origin() const noexcept { return m_origin; }
    pid_t Pid() const noexcept { return m_pid; }
    int Channel() const noexcept { return m_channel.Get(); }
    /// Takes work now or soon.
    bool Serves() const noexcept { return !retiring && !held && !killed; }
    bool TakesWork() const noexcept;

    /// Sends a request to the worker and remembers it. False when its socket is full or closed; `request` is kept then.
    bool Give(Request& request, Clock::time_point now);
    /// The request that the worker is at, or null.
    Request* Head() noexcept { return inFlight.empty() ? nullptr : &inFlight.front(); }
    /// The request with this id, or null.
    const Request* Find(std::uint64_t id) const noexcept;
    /// Takes a request out that is known to be there.
    Request Take(std::uint64_t id, Clock::time_point now);
    void Cancel(const Request& request) noexcept;
    void Hold(Clock::time_point now) noexcept;
    void GoOn(Clock::time_point now) noexcept;
    void Kill() noexcept;

    std::deque<Request> inFlight;
    bool ready = false;
    bool retiring = false; ///< gets no more work and is let go when it has none
    bool held = false;
    bool overTime = false; ///< killed because a file took too long
    bool killed = false;
    bool takenBack = false; ///< killed for what it held and not for its file's sake
    Clock::time_point killedAt;
    std::uint64_t files = 0;
    Clock::time_point startedAt;
    Clock::time_point headSince; ///< when the worker began with its head; moved on by the time that it was held

private:
    void Signal(int number) noexcept;

    std::uint64_t m_id;
    WorkerOrigin m_origin;
    pid_t m_pid;
    scanner::Descriptor m_channel;
    scanner::Descriptor m_handle;
    Clock::time_point m_heldAt;
};

} // namespace tfs::service::scan
