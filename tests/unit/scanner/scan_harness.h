// SPDX-License-Identifier: GPL-2.0-or-later
// A real scanner, a run on a thread of its own, and an observer that keeps what it was told.
#pragma once

#include <service/scan/dispatcher.h>
#include <service/scan/scan_run.h>
#include <service/scan/scanner_service.h>
#include <tests/unit/scanner/scan_files.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tfs::test {

using namespace service::scan;

/// Waits for a condition, up to a generous deadline. Returns whether it came.
bool Eventually(const std::function<bool()>& condition, std::chrono::seconds deadline = std::chrono::seconds(60));

/// Fails a test when two calls overlap, percent falls, or progress comes too often.
class RecordingObserver final : public IScanObserver {
public:
    void OnThreat(const ThreatFound& threat) override;
    void OnNotProcessed(const NotProcessed& object) override;
    void OnProgress(const ScanProgress& progress) override;

    std::vector<ThreatFound> Threats() const;
    std::vector<NotProcessed> NotProcessedObjects() const;
    std::vector<ScanProgress> Progress() const;
    /// Name of the threat in this file, or an empty text.
    std::string ThreatOf(const std::string& path) const;
    /// The reason's text, or an empty one where the file was processed.
    std::string ReasonOf(const std::string& path) const;

private:
    struct Call;
    std::atomic<int> m_inside{0};
    mutable std::mutex m_lock;
    std::vector<ThreatFound> m_threats;
    std::vector<NotProcessed> m_notProcessed;
    std::vector<ScanProgress> m_progress;
    std::chrono::steady_clock::time_point m_lastProgress;
};

inline constexpr char NewMarker[] = "a text that only the second set knows";
/// A set that knows what the first one knows, and NewMarker.
void FillSecondSet(const TemporaryFolder& bases);

/// Configuration with the built scanner and our own signatures.
ScannerConfig TestConfig();

/// A started scanner whose workers are all there and idle.
class Scanner {
public:
    explicit Scanner(ScannerConfig config = TestConfig());
    /// A worker is at a file.
    bool Busy();
    bool WaitUntilIdle();
    ScannerService& Service() noexcept { return m_service; }
    pid_t Parent() { return m_service.Inner()->ParentProcess(); }
    std::vector<pid_t> Workers() { return m_service.Inner()->WorkerProcesses(); }

private:
    std::size_t m_most;
    ScannerService m_service;
};

/// A run under way.
class RunningScan {
public:
    RunningScan(ScannerService& service, ScanOptions options);
    ~RunningScan();
    IScanRun& Run() noexcept { return *m_run; }
    RecordingObserver& Observer() noexcept { return m_observer; }
    /// Waits for the end.
    ScanResult Result();
    bool Ended() const noexcept { return m_ended; }

private:
    RecordingObserver m_observer;
    std::unique_ptr<IScanRun> m_run;
    ScanResult m_result;
    std::atomic<bool> m_ended{false};
    std::thread m_thread;
};

/// Options for one area.
ScanOptions Area(const std::string& path);
/// Pauses a run over large files so that a worker is held in the midst of one. False where the run ended before.
bool PauseInAFile(Scanner& scanner, RunningScan& scan);
/// Waits until a file is old enough to be remembered as clean.
void WaitUntilOld(const std::string& path);
/// State letter of a process as the kernel tells it ('T' is stopped), 0 when it is gone.
char ProcessState(pid_t process);
/// The worker has a file in hand: one that hasn't sleeps.
bool IsAtWork(pid_t worker);
/// Descriptors that this process has open.
std::size_t OpenDescriptors();

} // namespace tfs::test
