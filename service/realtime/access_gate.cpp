// SPDX-License-Identifier: GPL-2.0-or-later
// The gate's threads that take events and hand files on.
#include <service/realtime/access_gate.h>
#include <service/realtime/settled.h>

#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <poll.h>
#include <utility>

namespace tfs::service::realtime {
namespace {

using namespace std::chrono_literals;

/// What takes the reader's thread longer than this is stuck in the kernel.
constexpr auto ReaderPatience = 1s;

} // namespace

AccessGate::AccessGate(std::shared_ptr<scan::ScannerService::Impl> scanner, std::shared_ptr<FanotifyGroup> group,
                       std::shared_ptr<FileScreen> screen, std::shared_ptr<FindingsDesk> desk, Options options)
    : m_scanner(std::move(scanner)), m_group(std::move(group)), m_screen(std::move(screen)), m_desk(std::move(desk)),
      m_options(std::move(options)), m_basesVersion(m_options.basesVersion), m_lastSign(Clock::now()),
      m_busySince(Clock::time_point()) {}

AccessGate::~AccessGate() = default;

bool AccessGate::Start(const std::shared_ptr<AccessGate>& self) {
    m_client = m_scanner->Attach(self);
    if (!m_client)
        return false;
    m_reader = std::thread([this] { Read(); });
    m_submitter = std::thread([this] { Submit(); });
    m_timekeeper = std::thread([this] { KeepTime(); });
    return true;
}

void AccessGate::Stop() noexcept {
    if (!m_client)
        return;
    m_stopping = true;
    LetAllThrough();
    {
        const ulk::LockGuard lock(m_lock);
        m_toSubmit.notify_all();
        m_toWatch.notify_all();
    }
    // The submitter may wait for somebody who waits for an answer: the reader goes last.
    m_submitter.join();
    m_scanner->Detach(m_client);
    m_client.reset();
    m_calls.WaitForNone();
    m_timekeeper.join();
    m_wakeReader.Set();
    m_reader.join();
    LetAllThrough();
    (void)Rescue();
}

void AccessGate::Read() noexcept {
    std::vector<AccessEvent> events;
    while (!m_stopping) {
        pollfd sources[] = {{m_group->Descriptor(), POLLIN, 0}, {m_wakeReader.Descriptor(), POLLIN, 0}};
        if (::poll(sources, 2, -1) < 0 && errno != EINTR)
            return; // the timekeeper answers from now on
        m_busySince = Clock::now();
        TakeEvents(events);
        m_busySince = Clock::time_point();
    }
}

void AccessGate::TakeEvents(std::vector<AccessEvent>& events) {
    bool overflow = false;
    events.clear();
    if (m_group->Read(events, overflow) != 0)
        return;
    if (overflow && m_options.onOverflow)
        m_options.onOverflow();
    for (AccessEvent& event : events) {
        try {
            Decide(event);
        } catch (const std::exception&) { // memory is short
            m_group->Answer(event.file.Get(), true);
        }
    }
}

/// Answers in the reader's place. It reads no names and asks nobody, so that nothing can hold it up.
std::size_t AccessGate::Rescue() noexcept {
    std::vector<AccessEvent> events;
    bool overflow = false;
    std::size_t count = 0;
    while (m_group->Read(events, overflow) == 0) {
        for (const AccessEvent& event : events)
            m_group->Answer(event.file.Get(), true);
        count += events.size();
        events.clear();
    }
    if (overflow && m_options.onOverflow)
        m_options.onOverflow();
    return count;
}

/// Looked at twice: where the whole service was held up, the reader goes on with it.
void AccessGate::WatchReader(Clock::time_point now) {
    const Clock::time_point busySince = m_busySince;
    if (busySince == Clock::time_point() || busySince != std::exchange(m_seenBusy, busySince))
        m_seenBusyAt = now;
    else if (now - m_seenBusyAt > ReaderPatience && Rescue() != 0)
        m_desk->LetThrough({}, "Events couldn't be taken in time; files were let through");
}

void AccessGate::Decide(AccessEvent& event) {
    const int file = event.file.Get();
    SeenFile seen;
    if (m_stopping || !m_screen->Wants(event, seen))
        return m_group->Answer(file, true);
    const bool cacheable = m_fileSystems.KindOf(seen.status.st_dev, file) == scan::FileSystemKind::Disk;
    if (cacheable && m_scanner->Cache().Contains(seen.status)) {
        IgnoreWhileClean(file, seen);
        return m_group->Answer(file, true);
    }
    std::string path = seen.path;
    if (Queue(event, std::move(seen), cacheable))
        return;
    m_group->Answer(file, true);
    m_desk->LetThrough(std::move(path), "Too many programs wait for verdicts; the file was let through");
}

bool AccessGate::Queue(AccessEvent& event, SeenFile file, bool cacheable) {
    const FileState state = StateOf(file.status);
    scanner::Descriptor toScan(::fcntl(event.file.Get(), F_DUPFD_CLOEXEC, 0));
    const auto now = Clock::now();
    const ulk::LockGuard lock(m_lock);
    if (!toScan || m_openers + m_waiting.size() >= m_options.mostWaiting)
        return false;
    if (const auto known = m_byState.find(state); known != m_byState.end()) {
        // The deadline is that of the first: nobody waits longer for having come later.
        m_waiting.at(known->second).openers.push_back(std::move(event.file));
        ++m_openers;
        return true;
    }
    // The event is taken over last, when nothing can fail any more.
    const std::uint64_t token = m_nextToken++;
    scan::FileJob job{token, static_cast<std::uint64_t>(file.status.st_size), std::move(toScan), {}};
    Waiting& waiting = m_waiting[token];
    waiting = {std::move(file), cacheable, {}, now};
    waiting.openers.reserve(1);
    m_deadlines.push_back({now + m_options.deadline, token});
    m_byState.emplace(state, token);
    m_jobs.emplace_back(token, std::move(job));
    waiting.openers.push_back(std::move(event.file));
    ++m_openers;
    m_toSubmit.notify_one();
    if (m_deadlines.size() == 1)
        m_toWatch.notify_one();
    return true;
}

void AccessGate::Submit() noexcept {
    ulk::LockGuard lock(m_lock);
    while (!m_stopping) {
        if (m_jobs.empty()) {
            m_toSubmit.wait(lock);
            continue;
        }
        const std::uint64_t token = m_jobs.front().first;
        scan::FileJob job = std::move(m_jobs.front().second);
        m_jobs.pop_front();
        lock.unlock();
        if (!m_scanner->Submit(m_client, std::move(job)))
            OnVerdict(token, {scan::VerdictCode::EngineFailed, {}, {}, {}, 0, true, {}});
        lock.lock();
    }
}

void AccessGate::KeepTime() noexcept {
    ulk::LockGuard lock(m_lock);
    while (!m_stopping) {
        const auto now = Clock::now();
        if (!m_deadlines.empty() && m_deadlines.front().at <= now) {
            const std::uint64_t token = m_deadlines.front().token;
            m_deadlines.pop_front();
            lock.unlock();
            Lapse(token);
            lock.lock();
            continue;
        }
        lock.unlock();
        WatchReader(now);
        lock.lock();
        const auto next = now + ReaderPatience;
        m_toWatch.wait_until(lock, m_deadlines.empty() ? next : std::min(next, m_deadlines.front().at));
    }
}

} // namespace tfs::service::realtime
