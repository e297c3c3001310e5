// SPDX-License-Identifier: GPL-2.0-or-later
// Beginning and end of the run.
#include <service/realtime/realtime_run.h>
#include <service/tasks/local_mounts.h>
#include <service/tasks/threat_treatment.h>

#include <algorithm>
#include <exception>
#include <poll.h>
#include <sys/resource.h>
#include <system_error>
#include <utility>

namespace tfs::service::realtime {
namespace {

using types::TaskNotStartedReason;

constexpr int RetryMs = 1000;
constexpr rlim_t LeastDescriptors = 1024;
constexpr rlim_t EnoughDescriptors = 65536;
constexpr rlim_t DescriptorsPerOpener = 4;

FileMonitoringSettings SettingsOf(const tasks::RunOrder& order) {
    const auto* settings = order.settings.Get<FileMonitoringSettings>();
    return settings != nullptr ? *settings : FileMonitoringSettings();
}

/// Every opener who waits takes descriptors; one that can't be had is an opener who is denied by the kernel.
std::size_t RaiseDescriptorLimit() noexcept {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return LeastDescriptors / DescriptorsPerOpener;
    limit.rlim_cur = std::max(limit.rlim_cur, std::min(limit.rlim_max, EnoughDescriptors));
    (void)::setrlimit(RLIMIT_NOFILE, &limit);
    (void)::getrlimit(RLIMIT_NOFILE, &limit);
    return static_cast<std::size_t>(std::min<rlim_t>(limit.rlim_cur / DescriptorsPerOpener, 4096));
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text.append(text.empty() ? "" : "; ").append(line);
    return text;
}

} // namespace

RealtimeRun::RealtimeRun(tasks::RunOrder order, RealtimeSetup setup, tasks::IScanEngine& engine, tasks::IRunHost& host)
    : m_order(std::move(order)), m_setup(std::move(setup)), m_settings(SettingsOf(m_order)), m_engine(engine),
      m_host(host) {}

void RealtimeRun::Execute() noexcept {
    tasks::RunOutcome outcome;
    try {
        Run(outcome);
    } catch (const std::exception& e) {
        outcome.end = tasks::RunEnd::Failed;
        outcome.error = e.what();
    }
    TakeDown();
    try {
        m_host.OnRunEnded(m_order.task, outcome);
    } catch (const std::exception&) { // memory is short; the registry has changed what it could
    }
}

void RealtimeRun::Stop() noexcept {
    m_stopped = true;
    m_signals->wake.Set();
}

void RealtimeRun::Run(tasks::RunOutcome& outcome) {
    // Where fanotify is refused there is nothing to wait for.
    if (!OpenGroups(outcome))
        return;
    CloseGroups(); // the scanner is to be made while there is nothing that it could inherit
    if (!WaitForScanner(outcome.error)) {
        outcome.end = tasks::RunEnd::Stopped;
        return;
    }
    if (!OpenGroups(outcome) || !SetUp(outcome))
        return;
    m_host.OnRunBegun(m_order.task);
    outcome.begun = true;
    for (const std::string& problem : m_areas->Problems())
        m_desk->Tell(problem, "Files there aren't watched");
    Watch();
    outcome.end = tasks::RunEnd::Stopped;
}

bool RealtimeRun::OpenGroups(tasks::RunOutcome& outcome) {
    m_deciding = std::make_shared<FanotifyGroup>();
    m_telling = std::make_shared<FanotifyGroup>();
    int error = m_deciding->Open(FanotifyGroup::Kind::Deciding);
    if (error == 0)
        error = m_telling->Open(FanotifyGroup::Kind::Telling);
    if (error == 0)
        return true;
    outcome.reason = TaskNotStartedReason::InterceptionDriverError;
    outcome.error = "fanotify can't be used: " + std::generic_category().message(error);
    return false;
}

/// False where the run is stopped. Signatures that can't be loaded may be replaced by an update any time.
bool RealtimeRun::WaitForScanner(std::string& why) {
    for (;;) {
        const result_t result = m_engine.WaitUntilReady([this] { return m_stopped.load(); }, why);
        if (m_stopped || result == ulk::eCancelled)
            return false;
        if (ULK_SUCCEEDED(result)) {
            m_scanner = m_engine.Scanner();
            if (m_scanner)
                return true;
        }
        pollfd wake{m_signals->wake.Descriptor(), POLLIN, 0};
        (void)::poll(&wake, 1, RetryMs);
    }
}

bool RealtimeRun::SetUp(tasks::RunOutcome& outcome) {
    std::vector<std::string> areas = ResolvePaths(m_settings.areas);
    if (areas.empty()) {
        outcome.reason = TaskNotStartedReason::InternalSettingsError;
        outcome.error = "none of the areas is there";
        return false;
    }
    MakeParts(std::move(areas), ResolvePaths(m_settings.watchedFolders));
    if (!m_gate->Start(m_gate) || !m_written->Start(m_written)) {
        outcome.error = m_scanner->State().error;
        return false;
    }
    if (m_areas->Set())
        return true;
    outcome.reason = TaskNotStartedReason::InternalSettingsError;
    outcome.error = Joined(m_areas->Problems());
    return false;
}

void RealtimeRun::MakeParts(std::vector<std::string> areas, std::vector<std::string> watchedFolders) {
    FileScreen::Options screen;
    screen.areas = areas;
    screen.areas.insert(screen.areas.end(), watchedFolders.begin(), watchedFolders.end());
    screen.excludedPaths = m_setup.exclusions;
    screen.excludedPaths.insert(screen.excludedPaths.end(), m_settings.excludedPaths.begin(),
                                m_settings.excludedPaths.end());
    screen.excludedMasks = m_settings.excludeMasks;
    screen.programs = m_setup.ownPrograms;
    screen.programs.insert(screen.programs.end(), m_settings.excludedPrograms.begin(),
                           m_settings.excludedPrograms.end());
    screen.maxFileSize = m_settings.maxFileSize;
    m_screen = std::make_shared<FileScreen>(screen);

    const types::ThreatAction::Type action = m_settings.actionOnThreat;
    const bool denies = action != types::ThreatAction::Skip;
    m_desk = std::make_shared<FindingsDesk>(
        FindingsDesk::Options{m_order.task, m_order.initiator, tasks::TakesThreats(action),
                              [signals = m_signals](std::time_t changed) { signals->Missed(changed); }},
        m_host, m_setup.keeper);
    m_basesVersion = m_scanner->Inner()->BasesVersion();
    AccessGate::Options gate;
    gate.deadline = std::chrono::seconds(m_settings.deadlineSeconds);
    gate.deny = denies;
    gate.mostWaiting = RaiseDescriptorLimit();
    gate.basesVersion = m_basesVersion;
    gate.onSilence = [signals = m_signals] { signals->Silent(); };
    gate.onOverflow = [signals = m_signals, deadline = m_settings.deadlineSeconds] {
        signals->Missed(std::time(nullptr) - static_cast<std::time_t>(deadline));
    };
    m_gate = std::make_shared<AccessGate>(m_scanner->Inner(), m_deciding, m_screen, m_desk, std::move(gate));
    WrittenFiles::Options written;
    written.scan = m_settings.mode != types::FileScanMode::Open;
    written.onMissed = [signals = m_signals](std::time_t since) { signals->Missed(since); };
    m_written =
        std::make_shared<WrittenFiles>(m_scanner->Inner(), m_telling, m_deciding, m_screen, m_desk, std::move(written));
    scan::ScanOptions missed;
    missed.areas = tasks::WithLocalMounts(areas);
    missed.excludedPaths = screen.excludedPaths;
    missed.excludedMasks = screen.excludedMasks;
    missed.maxFileSize = m_settings.maxFileSize;
    missed.lowImpact = true;
    m_missed = std::make_unique<MissedFiles>(m_engine, std::move(missed), m_desk);
    m_areas = std::make_unique<WatchedAreas>(*m_deciding, *m_telling, *m_screen, m_settings.mode, std::move(areas),
                                             std::move(watchedFolders));
}

/// Everybody is let through first, and only then is anything waited for.
void RealtimeRun::TakeDown() noexcept {
    if (m_areas)
        m_areas->DropAll();
    if (m_gate)
        m_gate->Stop();
    if (m_desk)
        m_desk->GiveUp();
    if (m_written)
        m_written->Stop();
    if (m_missed)
        m_missed->Stop();
    if (m_desk)
        m_desk->Finish();
    // Nobody uses them any more. Whoever came to wait after the last look is let through by the kernel.
    CloseGroups();
}

void RealtimeRun::CloseGroups() noexcept {
    for (const auto& group : {m_deciding, m_telling})
        if (group)
            group->Close();
}

void RealtimeRun::Signals::Silent() noexcept {
    silent = true;
    wake.Set();
}

void RealtimeRun::Signals::Missed(std::time_t since) {
    {
        const ulk::LockGuard guard(lock);
        missedSince = std::min(missedSince.value_or(since), since);
    }
    wake.Set();
}

} // namespace tfs::service::realtime
