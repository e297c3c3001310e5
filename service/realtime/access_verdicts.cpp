// SPDX-License-Identifier: GPL-2.0-or-later
// What becomes of those who wait at the gate.
#include <service/realtime/access_gate.h>
#include <service/realtime/settled.h>

#include <exception>
#include <fcntl.h>
#include <sys/mman.h>
#include <utility>

namespace tfs::service::realtime {
namespace {

/// No file has it.
constexpr std::uint64_t ProbeToken = 0;
constexpr char TooSlow[] = "The verdict took too long; the file was let through";
constexpr char NoScanner[] = "The scanner isn't available; the file was let through";

} // namespace

AccessGate::FileState AccessGate::StateOf(const struct stat& status) noexcept {
    const auto nanoseconds = [](const timespec& time) { return time.tv_sec * 1000000000 + time.tv_nsec; };
    return {status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_ctim), nanoseconds(status.st_mtim)};
}

void AccessGate::Answer(std::vector<scanner::Descriptor> openers, bool allow) noexcept {
    for (const scanner::Descriptor& opener : openers)
        m_group->Answer(opener.Get(), allow);
}

/// A mark that is set after a look at the file holds for what the file was before that look only if it hasn't changed
/// meanwhile. A change that the kernel stamps with the same time as the one before is what the age guards against.
void AccessGate::IgnoreWhileClean(int file, const SeenFile& seen) noexcept {
    if (!HasSettled(seen.status, seen.takenAt) || m_group->Ignore(file) != 0)
        return;
    struct stat now {};
    if (::fstat(file, &now) != 0 || StateOf(now) != StateOf(seen.status))
        m_group->Heed(file);
}

void AccessGate::OnBytes(std::uint64_t, std::uint64_t) { m_lastSign = Clock::now(); }

void AccessGate::OnVerdict(std::uint64_t token, scan::FileVerdict verdict) {
    const CallCount::Call call(m_calls);
    if (!verdict.lost)
        m_lastSign = Clock::now();
    if (token == ProbeToken) {
        m_probeAnswered = !verdict.lost && verdict.code == scan::VerdictCode::Clean;
        m_probeUnderWay = false;
        return;
    }
    Waiting waiting;
    if (!Take(token, waiting))
        return;
    try {
        TakeVerdict(std::move(waiting), verdict);
    } catch (const std::exception&) { // memory is short; everybody has been answered
    }
}

bool AccessGate::Take(std::uint64_t token, Waiting& waiting) {
    const ulk::LockGuard lock(m_lock);
    const auto found = m_waiting.find(token);
    if (found == m_waiting.end())
        return false;
    waiting = std::move(found->second);
    m_waiting.erase(found);
    m_openers -= waiting.openers.size();
    const auto state = m_byState.find(StateOf(waiting.file.status));
    if (state != m_byState.end() && state->second == token)
        m_byState.erase(state);
    return true;
}

void AccessGate::TakeVerdict(Waiting waiting, const scan::FileVerdict& verdict) {
    const bool isThreat = verdict.code == scan::VerdictCode::Infected;
    const bool isClean = verdict.code == scan::VerdictCode::Clean && verdict.basesVersion == m_basesVersion;
    if (isClean && waiting.cacheable)
        m_scanner->Cache().Add(waiting.file.status, verdict.basesVersion, waiting.file.takenAt);
    if (isClean && !waiting.openers.empty())
        IgnoreWhileClean(waiting.openers.front().Get(), waiting.file);
    const bool wasWaitedFor = !waiting.openers.empty();
    Answer(std::move(waiting.openers), !isThreat || !m_options.deny);
    if (verdict.lost && wasWaitedFor)
        m_desk->LetThrough(waiting.file.path, NoScanner);
    if (verdict.lost && m_options.onSilence)
        m_options.onSilence();
    m_desk->Settled(waiting.file, verdict);
}

/// The verdict still counts when it comes: what was let through is treated late rather than never.
void AccessGate::Lapse(std::uint64_t token) {
    std::vector<scanner::Descriptor> openers;
    std::string path;
    Clock::time_point since;
    {
        const ulk::LockGuard lock(m_lock);
        const auto found = m_waiting.find(token);
        if (found == m_waiting.end())
            return;
        openers.swap(found->second.openers);
        m_openers -= openers.size();
        m_byState.erase(StateOf(found->second.file.status)); // who comes now waits for a scan of his own
        path = found->second.file.path;
        since = found->second.since;
    }
    if (openers.empty())
        return;
    Answer(std::move(openers), true);
    m_desk->LetThrough(std::move(path), TooSlow);
    if (m_lastSign.load() < since && m_options.onSilence)
        m_options.onSilence();
}

void AccessGate::LetAllThrough() noexcept {
    std::vector<std::vector<scanner::Descriptor>> all;
    std::deque<std::pair<std::uint64_t, scan::FileJob>> jobs; // closed without the lock
    ulk::LockGuard lock(m_lock);
    jobs.swap(m_jobs);
    std::unordered_map<std::uint64_t, Waiting> waiting;
    waiting.swap(m_waiting);
    m_byState.clear();
    m_deadlines.clear();
    m_openers = 0;
    lock.unlock();
    for (auto& [token, each] : waiting)
        Answer(std::move(each.openers), true);
}

void AccessGate::Probe() {
    constexpr char Harmless[] = "probe";
    m_probeAnswered = false;
    scanner::Descriptor file(::memfd_create("probe", MFD_CLOEXEC));
    if (!file || ::pwrite(file.Get(), Harmless, sizeof Harmless, 0) != sizeof Harmless)
        return;
    m_probeUnderWay = true;
    if (!m_scanner->Submit(m_client, {ProbeToken, sizeof Harmless, std::move(file), {}}))
        m_probeUnderWay = false;
}

} // namespace tfs::service::realtime
