// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/worker_slot.h>

#include <algorithm>
#include <sys/syscall.h>

namespace tfs::service::scan {

WorkerSlot::WorkerSlot(std::uint64_t id, const WorkerOrigin& origin, pid_t pid, scanner::Descriptor channel,
                       scanner::Descriptor handle)
    : startedAt(Clock::now()), m_id(id), m_origin(origin), m_pid(pid), m_channel(std::move(channel)),
      m_handle(std::move(handle)) {}

bool WorkerSlot::TakesWork() const noexcept { return ready && Serves() && inFlight.size() < scanner::RequestsAhead; }

bool WorkerSlot::Give(Request& request, Clock::time_point now) {
    const int file = request.job.file.Get();
    const FileLimits& limits = request.job.limits;
    const scanner::Message message{.kind = scanner::MessageKind::Scan,
                                   .code = limits.archives ? 0u : scanner::KeepArchivesShut,
                                   .id = request.id,
                                   .value = limits.maxFileSize,
                                   .time = limits.timeLimitMs};
    if (scanner::Send(Channel(), message, {&file, 1}, MSG_DONTWAIT) != 0)
        return false;
    if (inFlight.empty())
        headSince = now;
    inFlight.push_back(std::move(request));
    return true;
}

const Request* WorkerSlot::Find(std::uint64_t id) const noexcept {
    const auto found =
        std::find_if(inFlight.begin(), inFlight.end(), [&](const Request& each) { return each.id == id; });
    return found == inFlight.end() ? nullptr : &*found;
}

Request WorkerSlot::Take(std::uint64_t id, Clock::time_point now) {
    const auto found =
        std::find_if(inFlight.begin(), inFlight.end(), [&](const Request& each) { return each.id == id; });
    if (found == inFlight.begin())
        headSince = now;
    Request taken = std::move(*found);
    inFlight.erase(found);
    return taken;
}

void WorkerSlot::Cancel(const Request& request) noexcept {
    scanner::Send(Channel(), {.kind = scanner::MessageKind::Cancel, .id = request.id}, {}, MSG_DONTWAIT);
}

void WorkerSlot::Signal(int number) noexcept { ::syscall(SYS_pidfd_send_signal, m_handle.Get(), number, nullptr, 0u); }

void WorkerSlot::Hold(Clock::time_point now) noexcept {
    Signal(SIGSTOP);
    held = true;
    m_heldAt = now;
    if (Request* head = Head())
        head->held = true;
}

void WorkerSlot::GoOn(Clock::time_point now) noexcept {
    Signal(SIGCONT);
    held = false;
    headSince += now - m_heldAt;
}

void WorkerSlot::Kill() noexcept {
    Signal(SIGKILL);
    killed = true;
    killedAt = Clock::now();
}

} // namespace tfs::service::scan
