// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/realtime/missed_files.h>

#include <algorithm>
#include <exception>
#include <sys/stat.h>
#include <utility>

namespace tfs::service::realtime {

MissedFiles::MissedFiles(tasks::IScanEngine& engine, scan::ScanOptions options, std::shared_ptr<FindingsDesk> desk)
    : m_engine(engine), m_options(std::move(options)), m_desk(std::move(desk)) {}

void MissedFiles::Ask(std::time_t since) { m_asked = std::min(m_asked.value_or(since), since); }

void MissedFiles::Go() {
    if (!m_asked || !m_ended)
        return;
    Stop();
    scan::ScanOptions options = m_options;
    options.changedSince = *m_asked;
    m_asked.reset();
    m_run = m_engine.MakeRun(tasks::ScanKind::Files, std::move(options), *this);
    m_ended = false;
    m_thread = std::thread([this] {
        try {
            (void)m_run->Run();
        } catch (const std::exception&) { // memory is short
        }
        m_ended = true;
    });
}

void MissedFiles::Stop() noexcept {
    if (!m_thread.joinable())
        return;
    m_run->Stop();
    m_thread.join();
}

void MissedFiles::OnThreat(const scan::ThreatFound& threat) {
    m_desk->WaitForRoom();
    struct stat status {};
    if (threat.file)
        (void)::fstat(threat.file->Get(), &status);
    m_desk->Threat(threat, status);
}

} // namespace tfs::service::realtime
