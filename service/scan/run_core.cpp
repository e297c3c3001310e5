// SPDX-License-Identifier: GPL-2.0-or-later
// The walker's side of a run.
#include <contract/low_priority.h>
#include <service/scan/run_core.h>
#include <service/scan/user_rights.h>

#include <cerrno>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <system_error>

namespace tfs::service::scan {
namespace {

/// Told notables that wait to be passed on; beyond it the walker waits.
constexpr std::size_t MostNotables = 1000;

NotProcessedReason ReasonOf(int error) noexcept {
    return error == EACCES || error == EPERM ? NotProcessedReason::AccessDenied : NotProcessedReason::OpenFailed;
}

bool IsSameFile(const struct stat& a, const struct stat& b) noexcept {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

} // namespace

RunCore::RunCore(const std::shared_ptr<ScannerService::Impl>& scanner, ScanOptions options,
                 std::unique_ptr<IScanSource> source)
    : m_scanner(scanner), m_options(std::move(options)), m_source(std::move(source)) {}

void RunCore::WalkAreas(IWalkVisitor& visitor, const std::string& goOnBehind) {
    if (m_options.lowImpact)
        scanner::TakeLowPriority(); // the thread ends with the walk
    if (const int error = TakeOnRights(m_options.rightsOf); error != 0) {
        for (const std::string& root : m_source->Roots())
            visitor.OnUnreadable(root, error, std::generic_category().message(error));
        return;
    }
    m_source->Walk(visitor, m_source->IsOrdered() ? goOnBehind : std::string());
}

void RunCore::Walk() noexcept {
    try {
        WalkAreas(*this, m_options.goOnBehind);
    } catch (const std::exception& error) {
        Fail(error.what());
    }
    ulk::LockGuard lock(m_lock);
    m_walked = true;
    m_event.notify_all();
}

bool RunCore::GoOn() { return !m_stop.load(std::memory_order_relaxed); }

void RunCore::Passed(const std::string& path, const ScanProgress& counts) {
    ulk::LockGuard lock(m_lock);
    m_trail.Pass(path, counts);
}

void RunCore::OnSkipped(const std::string& path) { Passed(path, m_tally.Skipped()); }

void RunCore::OnUnreadable(const std::string& path, int error, const std::string& reason) {
    if (!WaitForRoom()) // a folder of a million files without rights must not pile up either
        return;
    const ScanProgress counts = m_tally.Unreadable();
    Tell(NotProcessed{path, ReasonOf(error), reason});
    if (path.starts_with('/'))
        Passed(path, counts);
}

std::size_t RunCore::MostInWork() const {
    const auto scanner = m_scanner.lock();
    return scanner ? scanner->FilesAtOnce() : 1;
}

/// A threat that waits to be told holds its file open, as a file in work does.
bool RunCore::WaitForRoom() {
    const std::size_t most = MostInWork();
    ulk::LockGuard lock(m_lock);
    while (!m_stop && (m_paused || m_inWork.size() + m_threatsToTell >= most || m_notables.size() >= MostNotables))
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

/// Null where the name leads to another file by now.
std::shared_ptr<const scanner::Descriptor> RunCore::OpenAgain(const FoundFile& file) {
    FileInWork work{};
    scanner::Descriptor descriptor;
    int error = 0;
    if (Open(file, work, descriptor, error) != Opened::Yes || !IsSameFile(file.status, work.status))
        return nullptr;
    return std::make_shared<const scanner::Descriptor>(std::move(descriptor));
}

bool RunCore::SettledByOtherName(const FoundFile& file) {
    FileVerdict verdict;
    {
        ulk::LockGuard lock(m_lock);
        switch (m_links.Ask(file.status, {file.path, m_nextToken})) {
        case LinkLedger::Answer::Scan:
            return false;
        case LinkLedger::Answer::Wait:
            m_trail.Begin(m_nextToken++, file.path);
            return true;
        case LinkLedger::Answer::Known:
            verdict = m_links.Verdict(file.status);
            break;
        }
    }
    if (verdict.code == VerdictCode::Infected)
        verdict.file = OpenAgain(file);
    Passed(file.path, Settle(file.path, file.status, verdict, false));
    return true;
}

void RunCore::Withdraw(const FoundFile& file) {
    ulk::LockGuard lock(m_lock);
    m_links.Withdraw(file.status);
}

ScanProgress RunCore::NotOpened(const FoundFile& file, Opened why, int error) {
    if (file.status.st_nlink > 1)
        Withdraw(file);
    if (why == Opened::Special)
        return m_tally.Skipped();
    if (why != Opened::Failed)
        return {};
    const ScanProgress counts = m_tally.NotProcessed(static_cast<std::uint64_t>(file.status.st_size), false);
    Tell(NotProcessed{file.path, ReasonOf(error), std::generic_category().message(error)});
    return counts;
}

bool RunCore::KnownAsClean(const FileInWork& work) const {
    const auto scanner = m_scanner.lock();
    const bool fits =
        m_options.maxFileSize == 0 || static_cast<std::uint64_t>(work.status.st_size) <= m_options.maxFileSize;
    return work.cacheable && fits && scanner && scanner->Cache().Contains(work.status);
}

void RunCore::OnFile(const FoundFile& file) {
    const bool manyNames = file.status.st_nlink > 1;
    if (file.status.st_ctim.tv_sec < m_options.changedSince) // never where it is 0
        return;
    if (!WaitForRoom())
        return;
    if (manyNames && SettledByOtherName(file))
        return;
    FileInWork work{file.path, file.status, {}, 0, file.fileSystem == FileSystemKind::Disk, manyNames};
    // For a user each file is opened first, for he must not learn of what he may not read, not even that it is clean.
    if (!m_options.rightsOf && KnownAsClean(work))
        return Passed(file.path, SettleAll(work, {}));
    scanner::Descriptor descriptor;
    int error = 0;
    const Opened opened = Open(file, work, descriptor, error);
    // Opening may have hung, and the run and the scanner may be gone since.
    if (!GoOn())
        return;
    if (opened != Opened::Yes)
        return Passed(file.path, NotOpened(file, opened, error));
    if (!IsSameFile(file.status, work.status)) { // replaced since it was looked at
        if (manyNames)
            Withdraw(file);
        work.manyNames = false;
        work.cacheable = work.cacheable && file.status.st_dev == work.status.st_dev;
    }
    if (m_options.rightsOf && KnownAsClean(work))
        return Passed(file.path, SettleAll(work, {}));
    HandOver(std::move(work), std::move(descriptor));
}

void RunCore::OnOpened(const std::string& path, scanner::Descriptor descriptor, FileSystemKind fileSystem) {
    if (!WaitForRoom())
        return;
    FileInWork work{path, {}, {}, 0, fileSystem == FileSystemKind::Disk, false};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &work.takenAt);
    if (::fstat(descriptor.Get(), &work.status) != 0 || !S_ISREG(work.status.st_mode))
        return static_cast<void>(m_tally.Skipped());
    if (KnownAsClean(work))
        return static_cast<void>(SettleAll(work, {}));
    HandOver(std::move(work), std::move(descriptor));
}

void RunCore::HandOver(FileInWork work, scanner::Descriptor descriptor) {
    FileJob job{0,
                static_cast<std::uint64_t>(work.status.st_size),
                std::move(descriptor),
                {m_options.scanArchives, m_options.maxFileSize, m_options.fileTimeLimitMs}};
    std::shared_ptr<ClientState> client;
    {
        ulk::LockGuard lock(m_lock);
        job.token = m_nextToken++;
        m_trail.Begin(job.token, work.path);
        m_inWork.emplace(job.token, std::move(work));
        client = m_client;
    }
    const auto scanner = m_scanner.lock();
    if (!scanner)
        Fail({});
    else if (!scanner->Submit(client, std::move(job)))
        Fail(scanner->State().error);
}

void RunCore::Fail(const std::string& error) {
    ulk::LockGuard lock(m_lock);
    m_error = error.empty() ? NoScanner : error;
    m_stop = true;
    m_event.notify_all();
    m_room.notify_all();
}

} // namespace tfs::service::scan
