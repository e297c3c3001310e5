// SPDX-License-Identifier: GPL-2.0-or-later
// The walker's side of a run and its verdicts.
#include <service/scan/run_core.h>
#include <service/scan/user_rights.h>

#include <cerrno>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <system_error>

namespace tfs::service::scan {
namespace {

/// Open files that a run has in hand at most, and how many are left when the walker is woken: in bunches, because a
/// wake-up for each file would cost as much as the file.
constexpr std::size_t MostInWork = 64;
constexpr std::size_t FewInWork = 24;
/// Told notables that wait to be passed on; beyond it the walker waits.
constexpr std::size_t MostNotables = 1000;

NotProcessedReason ReasonOf(const FileVerdict& verdict) noexcept {
    switch (verdict.code) {
    case VerdictCode::ReadError:
        return NotProcessedReason::ReadError;
    case VerdictCode::Changed:
        return NotProcessedReason::Changed;
    case VerdictCode::Encrypted:
        return NotProcessedReason::Encrypted;
    case VerdictCode::Limit:
        return NotProcessedReason::Limit;
    case VerdictCode::TimeLimit:
        return NotProcessedReason::TimeLimit;
    case VerdictCode::NotUnpacked:
        return NotProcessedReason::NotUnpacked;
    case VerdictCode::OutOfSpace:
        return NotProcessedReason::OutOfSpace;
    case VerdictCode::Cancelled:
        return NotProcessedReason::Cancelled;
    case VerdictCode::Clean:
    case VerdictCode::Infected:
    case VerdictCode::EngineFailed:
        break;
    }
    return NotProcessedReason::EngineFailed;
}

NotProcessedReason ReasonOf(int error) noexcept {
    return error == EACCES || error == EPERM ? NotProcessedReason::AccessDenied : NotProcessedReason::OpenFailed;
}

bool IsSameFile(const struct stat& a, const struct stat& b) noexcept {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

} // namespace

RunCore::RunCore(const std::shared_ptr<ScannerService::Impl>& scanner, ScanOptions options)
    : m_scanner(scanner), m_options(std::move(options)), m_basesVersion(scanner->BasesVersion()) {}

void RunCore::WalkAreas(IWalkVisitor& visitor) {
    if (const int error = TakeOnRights(m_options.rightsOf); error != 0) {
        for (const std::string& area : m_options.areas)
            visitor.OnUnreadable(area, error, std::generic_category().message(error));
        return;
    }
    FileWalker walker(m_options.excludedPaths, m_options.crossFileSystems, visitor);
    for (const std::string& area : m_options.areas)
        if (GoOn())
            walker.Walk(area);
}

void RunCore::Walk() noexcept {
    try {
        WalkAreas(*this);
    } catch (const std::exception& error) {
        Fail(error.what());
    }
    ulk::LockGuard lock(m_lock);
    m_walked = true;
    m_event.notify_all();
}

bool RunCore::GoOn() { return !m_stop.load(std::memory_order_relaxed); }

void RunCore::OnSkipped(const std::string&) { m_tally.Skipped(); }

void RunCore::OnUnreadable(const std::string& path, int error, const std::string& reason) {
    m_tally.Unreadable();
    Tell(NotProcessed{path, ReasonOf(error), reason});
}

bool RunCore::WaitForRoom() {
    ulk::LockGuard lock(m_lock);
    while (!m_stop && (m_paused || m_inWork.size() >= MostInWork || m_notables.size() >= MostNotables))
        m_room.wait(lock);
    return !m_stop;
}

RunCore::Opened RunCore::Open(const FoundFile& file, FileInWork& work, scanner::Descriptor& descriptor, int& error) {
    constexpr int Flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
    descriptor.Reset(::openat(file.folder, file.name, Flags | O_NOATIME));
    if (!descriptor && errno == EPERM)
        descriptor.Reset(::openat(file.folder, file.name, Flags));
    ::clock_gettime(CLOCK_REALTIME_COARSE, &work.takenAt);
    if (!descriptor || ::fstat(descriptor.Get(), &work.status) != 0) {
        error = errno;
        if (error == ELOOP || error == ENXIO)
            return Opened::Special; // became a link or a pipe since it was looked at
        return error == ENOENT ? Opened::Gone : Opened::Failed;
    }
    return S_ISREG(work.status.st_mode) ? Opened::Yes : Opened::Special;
}

bool RunCore::SettledByOtherName(const FoundFile& file) {
    FileVerdict verdict;
    {
        ulk::LockGuard lock(m_lock);
        switch (m_links.Ask(file.status, file.path)) {
        case LinkLedger::Answer::Scan:
            return false;
        case LinkLedger::Answer::Wait:
            return true;
        case LinkLedger::Answer::Known:
            verdict = m_links.Verdict(file.status);
            break;
        }
    }
    Settle(file.path, file.status, verdict, false);
    return true;
}

void RunCore::Withdraw(const FoundFile& file) {
    ulk::LockGuard lock(m_lock);
    m_links.Withdraw(file.status);
}

void RunCore::NotOpened(const FoundFile& file, Opened why, int error) {
    if (file.status.st_nlink > 1)
        Withdraw(file);
    if (why == Opened::Special)
        m_tally.Skipped();
    if (why != Opened::Failed)
        return;
    m_tally.NotProcessed(static_cast<std::uint64_t>(file.status.st_size), false);
    Tell(NotProcessed{file.path, ReasonOf(error), std::generic_category().message(error)});
}

bool RunCore::KnownAsClean(const FileInWork& work) const {
    const auto scanner = m_scanner.lock();
    return work.cacheable && scanner && scanner->Cache().Contains(work.status, m_basesVersion);
}

void RunCore::OnFile(const FoundFile& file) {
    const bool manyNames = file.status.st_nlink > 1;
    if (!WaitForRoom() || (manyNames && SettledByOtherName(file)))
        return;
    FileInWork work{file.path, file.status, {}, 0, file.fileSystem == FileSystemKind::Disk, manyNames};
    // For a user each file is opened first, for he must not learn of what he may not read, not even that it is clean.
    if (!m_options.rightsOf && KnownAsClean(work))
        return SettleAll(work, {});
    scanner::Descriptor descriptor;
    int error = 0;
    const Opened opened = Open(file, work, descriptor, error);
    // Opening may have hung, and the run and the scanner may be gone since.
    if (!GoOn())
        return;
    if (opened != Opened::Yes)
        return NotOpened(file, opened, error);
    if (!IsSameFile(file.status, work.status)) { // replaced since it was looked at
        if (manyNames)
            Withdraw(file);
        work.manyNames = false;
        work.cacheable = work.cacheable && file.status.st_dev == work.status.st_dev;
    }
    if (m_options.rightsOf && KnownAsClean(work))
        return SettleAll(work, {});
    HandOver(std::move(work), std::move(descriptor));
}

void RunCore::HandOver(FileInWork work, scanner::Descriptor descriptor) {
    FileJob job{0, static_cast<std::uint64_t>(work.status.st_size), std::move(descriptor)};
    std::shared_ptr<ClientState> client;
    {
        ulk::LockGuard lock(m_lock);
        job.token = m_nextToken++;
        m_inWork.emplace(job.token, std::move(work));
        client = m_client;
    }
    const auto scanner = m_scanner.lock();
    if (!scanner)
        Fail({});
    else if (!scanner->Submit(client, std::move(job)))
        Fail(scanner->State().error);
}

void RunCore::OnBytes(std::uint64_t token, std::uint64_t bytes) {
    ulk::LockGuard lock(m_lock);
    const auto file = m_inWork.find(token);
    if (file == m_inWork.end() || bytes <= file->second.bytes)
        return;
    m_tally.InWork(static_cast<std::int64_t>(bytes - file->second.bytes));
    file->second.bytes = bytes;
}

void RunCore::OnVerdict(std::uint64_t token, FileVerdict verdict) {
    FileInWork file;
    {
        ulk::LockGuard lock(m_lock);
        const auto found = m_inWork.find(token);
        if (found == m_inWork.end() || m_stop)
            return;
        file = std::move(found->second);
    }
    m_tally.InWork(-static_cast<std::int64_t>(file.bytes));
    if (const auto scanner = m_scanner.lock(); scanner && verdict.code == VerdictCode::Clean && file.cacheable)
        scanner->Cache().Add(file.status, m_basesVersion, file.takenAt);
    SettleAll(file, verdict);
    // Only now is the file out of work: Run() ends when the last one is, and must not miss what it was told.
    ulk::LockGuard lock(m_lock);
    m_inWork.erase(token);
    if (m_inWork.size() == FewInWork)
        m_room.notify_one();
    if (m_inWork.empty() && m_walked)
        m_event.notify_all();
}

void RunCore::SettleAll(const FileInWork& file, const FileVerdict& verdict) {
    Settle(file.path, file.status, verdict, true);
    if (!file.manyNames)
        return;
    std::vector<std::string> names;
    {
        ulk::LockGuard lock(m_lock);
        names = m_links.Settle(file.status, verdict);
    }
    for (const std::string& name : names)
        Settle(name, file.status, verdict, false);
}

void RunCore::Settle(const std::string& path, const struct stat& status, const FileVerdict& verdict, bool read) {
    const auto size = static_cast<std::uint64_t>(status.st_size);
    switch (verdict.code) {
    case VerdictCode::Clean:
        m_tally.Scanned(size, read, false);
        return;
    case VerdictCode::Infected:
        m_tally.Scanned(size, read, true);
        return Tell(ThreatFound{path, verdict.inner, verdict.threat, size, status.st_uid});
    default:
        m_tally.NotProcessed(size, verdict.code == VerdictCode::Encrypted);
        return Tell(NotProcessed{path, ReasonOf(verdict), verdict.detail});
    }
}

void RunCore::Tell(Notable notable) {
    ulk::LockGuard lock(m_lock);
    m_notables.push_back(std::move(notable));
    m_event.notify_all();
}

void RunCore::Fail(const std::string& error) {
    ulk::LockGuard lock(m_lock);
    m_error = error.empty() ? "the scanner is not available" : error;
    m_stop = true;
    m_event.notify_all();
    m_room.notify_all();
}

} // namespace tfs::service::scan
