// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/realtime/findings_desk.h>
#include <service/tasks/threat_treatment.h>

#include <algorithm>
#include <utility>

namespace tfs::service::realtime {
namespace {

using namespace std::chrono_literals;

/// A program that tries again and again makes one event in so long, and no more than so many files are remembered.
constexpr auto RepeatInterval = 10s;
constexpr std::size_t MostRecent = 256;
/// Threats that wait to be treated: who can wait does so from the first number on, beyond the second one they are told
/// only.
constexpr std::size_t ManyHeld = 64;
constexpr std::size_t MostHeld = 192;
/// Events of files let through: so many at once, then one in so long.
constexpr std::uint32_t MostLetThroughAtOnce = 20;
constexpr auto LetThroughInterval = 1s;

} // namespace

FindingsDesk::FindingsDesk(Options options, tasks::IRunHost& host, storage::IObjectKeeper* keeper)
    : m_options(std::move(options)), m_host(host), m_keeper(keeper), m_letThroughRoom(MostLetThroughAtOnce) {}

void FindingsDesk::Post(std::function<void()> job) {
    if (!m_finished)
        m_jobs.Post(std::move(job));
}

void FindingsDesk::Count(std::uint64_t ScanStatistic::*counter) {
    const ulk::LockGuard lock(m_lock);
    ++(m_counters.*counter);
}

void FindingsDesk::Settled(const SeenFile& file, const scan::FileVerdict& verdict) {
    const auto size = static_cast<std::uint64_t>(file.status.st_size);
    switch (verdict.code) {
    case scan::VerdictCode::Infected:
        Threat({file.path, verdict.inner, verdict.threat, size, file.status.st_uid, verdict.file}, file.status);
        [[fallthrough]];
    case scan::VerdictCode::Clean: {
        const ulk::LockGuard lock(m_lock);
        ++m_counters.scannedObjects;
        m_bytes += size;
        return;
    }
    case scan::VerdictCode::Encrypted:
        return Count(&ScanStatistic::passwordProtectedObjects);
    default:
        return Count(&ScanStatistic::scanErrors);
    }
}

bool FindingsDesk::IsRepeated(const struct stat& status) {
    const auto now = Clock::now();
    while (!m_recent.empty() && (now - m_recent.front().at > RepeatInterval || m_recent.size() > MostRecent))
        m_recent.pop_front();
    const std::int64_t changed = status.st_ctim.tv_sec * 1000000000 + status.st_ctim.tv_nsec;
    const bool known = std::any_of(m_recent.begin(), m_recent.end(), [&](const Recent& recent) {
        return recent.device == status.st_dev && recent.inode == status.st_ino && recent.changed == changed;
    });
    if (!known)
        m_recent.push_back({status.st_dev, status.st_ino, changed, now});
    return known;
}

void FindingsDesk::Threat(scan::ThreatFound threat, const struct stat& status) {
    bool isOneTooMany = false;
    {
        const ulk::LockGuard lock(m_lock);
        isOneTooMany = m_held >= MostHeld; // and isn't known then when it comes again
        if (!isOneTooMany && IsRepeated(status))
            return;
        ++m_counters.threatsFound;
        ++m_counters.infectedObjects;
        m_held += isOneTooMany ? 0 : 1;
    }
    if (!isOneTooMany)
        return Post([this, threat = std::move(threat)] { Treat(threat); });
    threat.file.reset();
    Post([this, threat = std::move(threat)] {
        (void)TellThreat(threat);
        Count(&ScanStatistic::notCuredObjects);
    });
    if (m_options.onMissed)
        m_options.onMissed(status.st_ctim.tv_sec);
}

void FindingsDesk::WaitForRoom() {
    ulk::LockGuard lock(m_lock);
    while (!m_finished && m_held >= ManyHeld)
        m_room.wait(lock);
}

types::EventSeverity::Type FindingsDesk::TellThreat(const scan::ThreatFound& threat) {
    Event event =
        tasks::MakeThreatDetected(m_options.task, m_options.initiator, threat, m_names.Resolve(threat.ownerUid));
    const types::EventSeverity::Type dangerLevel = event.severity;
    m_host.PublishFinding(std::move(event));
    return dangerLevel;
}

void FindingsDesk::Treat(const scan::ThreatFound& threat) {
    TakeOrLeave(threat, TellThreat(threat));
    const ulk::LockGuard lock(m_lock);
    --m_held;
    m_room.notify_all();
}

void FindingsDesk::TakeOrLeave(const scan::ThreatFound& threat, types::EventSeverity::Type dangerLevel) {
    const tasks::TreatmentOrder order{m_options.task, m_options.initiator, {}, [this] { return m_finished.load(); }};
    if (!m_options.takesThreats || !tasks::MoveToStorage(m_keeper, m_host, order, threat, dangerLevel))
        return Count(&ScanStatistic::notCuredObjects);
    const ulk::LockGuard lock(m_lock);
    ++m_counters.backedUpObjects;
    ++m_counters.deletedObjects;
}

void FindingsDesk::Tell(const std::string& path, const std::string& reason) {
    Post([this, path, reason] {
        m_host.PublishFinding(tasks::MakeNotProcessed(m_options.task, m_options.initiator, path, reason, {}));
    });
}

void FindingsDesk::LetThrough(std::string path, const std::string& reason) {
    std::string detail;
    {
        const ulk::LockGuard lock(m_lock);
        ++m_counters.skippedObjects;
        const auto now = Clock::now();
        if (now - m_letThroughTold > LetThroughInterval * static_cast<int>(MostLetThroughAtOnce))
            m_letThroughRoom = MostLetThroughAtOnce;
        if (m_letThroughRoom == 0 && now - m_letThroughTold < LetThroughInterval) {
            ++m_letThroughUntold;
            return;
        }
        m_letThroughRoom -= m_letThroughRoom == 0 ? 0 : 1;
        m_letThroughTold = now;
        if (const std::uint64_t others = std::exchange(m_letThroughUntold, 0); others != 0)
            detail = "and " + std::to_string(others) + " others before";
    }
    Post([this, path = std::move(path), reason, detail = std::move(detail)] {
        m_host.PublishFinding(tasks::MakeNotProcessed(m_options.task, m_options.initiator, path, reason, detail));
    });
}

void FindingsDesk::TellCounters() {
    std::pair<ScanStatistic, std::uint64_t> counters;
    {
        const ulk::LockGuard lock(m_lock);
        counters = {m_counters, m_bytes};
        if (counters == m_told)
            return;
        m_told = counters;
    }
    m_host.OnRunCounters(m_options.task, counters.first, counters.second);
}

void FindingsDesk::GiveUp() {
    const ulk::LockGuard lock(m_lock);
    m_finished = true;
    m_room.notify_all();
}

void FindingsDesk::Finish() {
    GiveUp();
    m_jobs.Flush();
    TellCounters();
}

} // namespace tfs::service::realtime
