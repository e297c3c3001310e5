// SPDX-License-Identifier: GPL-2.0-or-later
// What the run watches over while it protects.
#include <service/realtime/realtime_run.h>

#include <cerrno>
#include <poll.h>
#include <utility>

namespace tfs::service::realtime {
namespace {

using namespace std::chrono_literals;

constexpr int TickMs = 500;
constexpr int DoubtfulTickMs = 50;
/// For a harmless file, when another one has waited its whole time already.
constexpr auto ProbePatience = 500ms;
/// The clock of files ticks by itself.
constexpr std::time_t Tolerance = 2;

} // namespace

void RealtimeRun::Watch() {
    while (!m_stopped) {
        pollfd sources[] = {{m_signals->wake.Descriptor(), POLLIN, 0}, {m_areas->Descriptor(), POLLIN, 0}};
        (void)::poll(sources, 2, m_scannerIs == Scanner::Answers ? TickMs : DoubtfulTickMs);
        m_signals->wake.Clear();
        m_areas->Follow([this](const std::string& file) { m_written->Look(file); });
        LookAtSignatures();
        LookAtScanner();
        LookForMissed();
        m_desk->TellCounters();
    }
}

/// What is clean by one set of signatures need not be so by another.
void RealtimeRun::LookAtSignatures() {
    const std::uint64_t version = m_scanner->Inner()->BasesVersion();
    if (version == std::exchange(m_basesVersion, version))
        return;
    m_gate->Use(version);
    m_areas->ForgetClean();
}

void RealtimeRun::LookAtScanner() {
    const auto now = Clock::now();
    const bool silent = m_signals->silent.exchange(false);
    switch (m_scannerIs) {
    case Scanner::Answers:
        if (!silent)
            return;
        m_gate->Probe();
        m_doubtfulSince = now;
        m_scannerIs = Scanner::Doubtful;
        return;
    case Scanner::Doubtful:
        if (m_gate->AnsweredProbe())
            m_scannerIs = Scanner::Answers;
        else if (now - m_doubtfulSince > ProbePatience)
            LoseScanner();
        return;
    case Scanner::Away:
        if (m_gate->AnsweredProbe())
            RegainScanner();
        else if (!m_gate->IsProbeUnderWay())
            m_gate->Probe();
        return;
    }
}

void RealtimeRun::LoseScanner() {
    m_scannerIs = Scanner::Away;
    m_areas->DropDeciding();
    m_gate->LetAllThrough();
    m_host.OnRunWaits(m_order.task);
    m_desk->Tell(m_settings.areas.front(), "The scanner doesn't answer; files are let through until it does");
    m_signals->Missed(std::time(nullptr) - static_cast<std::time_t>(m_settings.deadlineSeconds));
}

void RealtimeRun::RegainScanner() {
    m_scannerIs = Scanner::Answers;
    (void)m_areas->Set();
    m_host.OnRunBegun(m_order.task);
    m_desk->Tell(m_settings.areas.front(), "The scanner answers again; what changed meanwhile is looked at");
}

/// While the scanner is away it waits.
void RealtimeRun::LookForMissed() {
    if (m_scannerIs != Scanner::Answers)
        return;
    std::optional<std::time_t> since;
    {
        const ulk::LockGuard lock(m_signals->lock);
        since = std::exchange(m_signals->missedSince, std::nullopt);
    }
    if (since) {
        m_desk->Tell(m_settings.areas.front(), "Events were lost; files that changed lately are looked at");
        m_missed->Ask(*since - Tolerance);
    }
    m_missed->Go();
}

} // namespace tfs::service::realtime
