// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/scanner_parent.h>

#include <algorithm>

namespace tfs::service::scan {
namespace {

using namespace std::chrono_literals;
using scanner::MessageKind;

constexpr unsigned MostLosses = 8;
constexpr unsigned MostSpawnFailures = 8;
constexpr int ClosePatienceMs = 2000;
constexpr auto LoadDeadline = 300s;
constexpr auto SpawnDeadline = 5s;
constexpr auto LeastBackOff = 50ms;
constexpr auto MostBackOff = 1000ms;
/// One that ran for so long is started again at once.
constexpr auto LivedLong = 10s;

} // namespace

std::string Printable(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x7F)
            c = '?';
    return result;
}

void ScannerParent::Start() {
    m_phase = Phase::Starting;
    m_phaseSince = Clock::now();
    m_asked.clear();
    m_spawnFailures = 0;
    m_askNotBefore = {};
    if (std::string error = m_process.Start(m_config); !error.empty())
        Fail(std::move(error));
}

void ScannerParent::Loaded(const scanner::Message& message) {
    if (message.code != scanner::ProtocolVersion)
        return Fail("the scanner is of another version");
    m_phase = Phase::Running;
    m_phaseSince = Clock::now();
    m_losses = 0;
    m_set = {message.id, message.value, message.time, Printable(message.first), Printable(message.second)};
}

void ScannerParent::Lose() {
    const auto now = Clock::now();
    const bool lived = m_phase == Phase::Running && now - m_phaseSince > LivedLong;
    m_process.End(0);
    m_asked.clear();
    if (++m_losses > MostLosses)
        return Fail("the scanner ends before its signatures are loaded");
    m_backOff = lived ? std::chrono::milliseconds(LeastBackOff)
                      : std::clamp<std::chrono::milliseconds>(2 * m_backOff, LeastBackOff, MostBackOff);
    m_phase = Phase::Waiting;
    m_restartAt = now + m_backOff;
}

void ScannerParent::Fail(std::string error) {
    m_process.End(0);
    m_asked.clear();
    m_losses = 0;
    m_phase = Phase::Failed;
    m_error = std::move(error);
}

void ScannerParent::Leave() noexcept {
    m_process.Close(m_phase == Phase::Running ? ClosePatienceMs : 0); // one that loads hears nothing
    m_asked.clear();
    m_phase = Phase::Stopped;
}

void ScannerParent::End(int patienceMs) noexcept {
    m_process.End(patienceMs);
    m_asked.clear();
    m_phase = Phase::Stopped;
}

const char* ScannerParent::Overdue(Clock::time_point now) const noexcept {
    if (m_phase == Phase::Starting && now - m_phaseSince > LoadDeadline)
        return "the signatures took too long to load";
    if (m_phase == Phase::Running && !m_asked.empty() && now - m_askedAt > SpawnDeadline)
        return "it doesn't answer";
    return nullptr;
}

bool ScannerParent::Spawn(std::uint64_t id, WorkerKind kind, Clock::time_point now) {
    if (m_phase != Phase::Running || now < m_askNotBefore)
        return false;
    const scanner::Message message{.kind = MessageKind::Spawn, .code = static_cast<std::uint32_t>(kind), .id = id};
    if (scanner::Send(Control(), message, {}, MSG_DONTWAIT) != 0)
        return false; // full or closed; the loop comes by again
    m_asked.emplace(id, kind);
    m_askedAt = now;
    return true;
}

std::uint32_t ScannerParent::Spawning(WorkerKind kind) const noexcept {
    return static_cast<std::uint32_t>(
        std::count_if(m_asked.begin(), m_asked.end(), [kind](const auto& each) { return each.second == kind; }));
}

bool ScannerParent::TakeAsked(std::uint64_t id, WorkerKind& kind) noexcept {
    const auto asked = m_asked.find(id);
    if (asked == m_asked.end())
        return false;
    kind = asked->second;
    m_asked.erase(asked);
    return true;
}

bool ScannerParent::NoteSpawnFailure(Clock::time_point now) noexcept {
    m_askNotBefore =
        now + std::min<std::chrono::milliseconds>(10ms * (1 << std::min(m_spawnFailures, 8u)), MostBackOff);
    return ++m_spawnFailures >= MostSpawnFailures;
}

} // namespace tfs::service::scan
