// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/realtime/written_files.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <poll.h>

namespace tfs::service::realtime {
namespace {

constexpr int RetryMs = 100;

} // namespace

WrittenFiles::WrittenFiles(std::shared_ptr<scan::ScannerService::Impl> scanner, std::shared_ptr<FanotifyGroup> group,
                           std::shared_ptr<FanotifyGroup> gate, std::shared_ptr<FileScreen> screen,
                           std::shared_ptr<FindingsDesk> desk, Options options)
    : m_scanner(std::move(scanner)), m_group(std::move(group)), m_gate(std::move(gate)), m_screen(std::move(screen)),
      m_desk(std::move(desk)), m_options(std::move(options)), m_upToDate(std::time(nullptr)) {}

bool WrittenFiles::Start(const std::shared_ptr<WrittenFiles>& self) {
    m_client = m_scanner->Attach(self);
    if (!m_client)
        return false;
    m_reader = std::thread([this] { Read(); });
    return true;
}

void WrittenFiles::Stop() noexcept {
    if (!m_client)
        return;
    m_stopping = true;
    {
        const ulk::LockGuard lock(m_lock);
        m_room.notify_all();
    }
    m_wake.Set();
    m_reader.join();
    m_scanner->Detach(m_client);
    m_calls.WaitForNone();
    m_client.reset();
}

void WrittenFiles::Read() noexcept {
    std::vector<AccessEvent> events;
    while (!m_stopping) {
        try {
            TakeEvents(events);
        } catch (const std::exception&) { // memory is short
            Missed(m_upToDate);
        }
    }
}

void WrittenFiles::TakeEvents(std::vector<AccessEvent>& events) {
    bool overflow = false;
    events.clear();
    const int error = m_group->Read(events, overflow);
    if (error == EAGAIN) {
        m_upToDate = std::time(nullptr);
        pollfd sources[] = {{m_group->Descriptor(), POLLIN, 0}, {m_wake.Descriptor(), POLLIN, 0}};
        (void)::poll(sources, 2, -1);
        return;
    }
    if (error != 0) { // the event is gone: no descriptor could be made for it
        Missed(m_upToDate);
        pollfd wake{m_wake.Descriptor(), POLLIN, 0};
        (void)::poll(&wake, 1, RetryMs);
        return;
    }
    for (AccessEvent& event : events) {
        SeenFile seen;
        // A mapping may have changed it without a trace: the mark that spares it the gate counts no longer.
        m_gate->Heed(event.file.Get());
        if (!m_options.scan || !m_screen->Wants(event, seen))
            continue;
        WaitForRoom();
        Scan(std::move(event.file), std::move(seen));
    }
    if (overflow)
        Missed(m_upToDate);
}

void WrittenFiles::Missed(std::time_t since) const {
    if (m_options.onMissed && !m_stopping)
        m_options.onMissed(since);
}

void WrittenFiles::Look(const std::string& path) {
    scanner::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    SeenFile seen;
    if (!file || !m_options.scan || !m_screen->Wants(file.Get(), seen))
        return;
    bool hasRoom = false;
    {
        const ulk::LockGuard lock(m_lock);
        hasRoom = HasRoom();
    }
    if (hasRoom)
        Scan(std::move(file), std::move(seen));
    else
        Missed(seen.status.st_ctim.tv_sec);
}

void WrittenFiles::WaitForRoom() {
    m_desk->WaitForRoom();
    ulk::LockGuard lock(m_lock);
    while (!m_stopping && !HasRoom())
        m_room.wait(lock);
}

/// A file that is written again and again has one worker busy at most.
void WrittenFiles::Scan(scanner::Descriptor file, SeenFile seen) {
    const Inode inode{seen.status.st_dev, seen.status.st_ino};
    scan::FileJob job{0, static_cast<std::uint64_t>(seen.status.st_size), std::move(file), {}};
    if (m_stopping)
        return;
    {
        const ulk::LockGuard lock(m_lock);
        if (const auto known = m_byInode.find(inode); known != m_byInode.end()) {
            m_inWork.at(known->second).again = std::move(job.file);
            return;
        }
        const bool cacheable = m_fileSystems.KindOf(seen.status.st_dev, job.file.Get()) == scan::FileSystemKind::Disk;
        job.token = m_nextToken++;
        m_byInode.emplace(inode, job.token);
        m_inWork.emplace(job.token, InWork{std::move(seen), cacheable, {}});
    }
    const std::uint64_t token = job.token;
    if (!m_scanner->Submit(m_client, std::move(job)))
        OnVerdict(token, {scan::VerdictCode::EngineFailed, {}, {}, {}, 0, true, {}});
}

void WrittenFiles::OnVerdict(std::uint64_t token, scan::FileVerdict verdict) {
    const CallCount::Call call(m_calls);
    InWork work;
    {
        const ulk::LockGuard lock(m_lock);
        const auto found = m_inWork.find(token);
        if (found == m_inWork.end())
            return;
        work = std::move(found->second);
        m_inWork.erase(found);
        m_byInode.erase({work.file.status.st_dev, work.file.status.st_ino});
        m_room.notify_all();
    }
    if (m_stopping)
        return;
    if (verdict.code == scan::VerdictCode::Clean && work.cacheable)
        m_scanner->Cache().Add(work.file.status, verdict.basesVersion, work.file.takenAt);
    if (verdict.lost)
        Missed(std::min<std::time_t>(m_upToDate, work.file.status.st_ctim.tv_sec));
    m_desk->Settled(work.file, verdict);
    SeenFile seen;
    if (work.again && m_screen->Wants(work.again.Get(), seen))
        Scan(std::move(work.again), std::move(seen));
}

} // namespace tfs::service::realtime
