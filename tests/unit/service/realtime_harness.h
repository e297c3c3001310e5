// SPDX-License-Identifier: GPL-2.0-or-later
// The protection in real time over a file system of the test's own, with the real scanner. Whoever opens files is a
// child process: the protection lets its own process through.
#pragma once

#include <service/realtime/realtime_run.h>
#include <tests/unit/scanner/scan_files.h>
#include <tests/unit/scanner/scan_harness.h>

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tfs::test {

using namespace service::realtime;
namespace tasks = service::tasks;

/// A tmpfs in this process's own mount namespace; nobody else sees it.
class PrivateFileSystem {
public:
    PrivateFileSystem();
    ~PrivateFileSystem();
    const std::string& Path() const noexcept { return m_folder.Path(); }
    std::string operator/(const std::string& name) const { return m_folder / name; }
    /// Written by a child process, so that the protection is told of it.
    std::string Write(const std::string& name, const std::string& content) const;
    /// Written by this process, which it is not told of.
    std::string Place(const std::string& name, const std::string& content) const;

private:
    TemporaryFolder m_folder;
};

/// A child that does one thing and ends. What it does must be safe behind a fork: system calls only.
class Child {
public:
    explicit Child(const std::function<int()>& work);
    ~Child();
    /// What it returned, modulo 256.
    int Wait();
    /// It waits in the kernel for somebody else.
    bool IsHeldUp() const { return ProcessState(m_process) == 'D'; }

private:
    pid_t m_process;
    int m_result = -1;
};

/// 0 or the errno value of opening the file for reading in a child.
int OpenInChild(const std::string& path);
/// Exit code of the program, or 200 where it couldn't be started.
int RunInChild(const std::string& path);
inline constexpr int CantRun = 200;

class RecordingHost final : public tasks::IRunHost {
public:
    void OnRunBegun(const tasks::TaskIdentity&) override { ++begun; }
    void OnRunWaits(const tasks::TaskIdentity&) override { ++waits; }
    void OnRunCounters(const tasks::TaskIdentity&, const ScanStatistic& counters, std::uint64_t) override;
    void OnRunProgress(const tasks::TaskIdentity&, const tasks::RunProgress&) override {}
    void OnRunCheckpoint(const tasks::TaskIdentity&, const std::string&, const ScanStatistic&, std::uint64_t) override {
    }
    void OnRunEnded(const tasks::TaskIdentity&, const tasks::RunOutcome& outcome) override;
    void PublishFinding(Event event) override;
    void PublishProgress(Event) override {}

    ScanStatistic Counters() const;
    tasks::RunOutcome Outcome() const;
    /// Texts of one field of all events of a type.
    std::vector<std::string> Told(types::EventName::Type type, types::AdditionalName::Type field) const;
    bool Tells(types::EventName::Type type, types::AdditionalName::Type field, const std::string& part) const;

    std::atomic<int> begun{0};
    std::atomic<int> waits{0};
    std::atomic<bool> ended{false};

private:
    mutable std::mutex m_lock;
    ScanStatistic m_counters;
    tasks::RunOutcome m_outcome;
    std::vector<Event> m_events;
};

/// Keeps nothing but what it was given.
class RecordingKeeper final : public service::storage::IObjectKeeper {
public:
    struct Taken {
        std::string path;
        ino_t inode = 0;
        std::string content;
    };
    result_t Take(const service::storage::FoundObject& object, BackupId& id, std::string& why) noexcept override;
    std::vector<Taken> Objects() const;
    /// Takes nothing, and has whoever brings something wait, until it is opened again.
    std::atomic<bool> shut{false};

private:
    mutable std::mutex m_lock;
    std::vector<Taken> m_objects;
};

class TestEngine final : public tasks::IScanEngine {
public:
    explicit TestEngine(test::Scanner& scanner) : m_scanner(&scanner.Service(), [](auto*) {}) {}
    result_t WaitUntilReady(const std::function<bool()>&, std::string&) override { return ulk::sOk; }
    std::shared_ptr<ScannerService> Scanner() const override { return m_scanner; }
    std::unique_ptr<IScanRun> MakeRun(tasks::ScanKind, ScanOptions options, IScanObserver& observer) override {
        return MakeScanRun(*m_scanner, std::move(options), observer);
    }

private:
    std::shared_ptr<ScannerService> m_scanner;
};

/// A run of the task on a thread of its own.
class Protection {
public:
    Protection(test::Scanner& scanner, FileMonitoringSettings settings, RealtimeSetup setup = {});
    ~Protection() { Stop(); }
    /// Has it begun? Waits.
    bool Begins();
    void Stop();

    RecordingHost host;
    RecordingKeeper keeper;

private:
    TestEngine m_engine;
    std::shared_ptr<RealtimeRun> m_run;
    std::thread m_thread;
};

/// Skips where the machine doesn't permit it, by name.
class RealtimeTest : public testing::Test {
protected:
    void SetUp() override;
    FileMonitoringSettings Settings(types::FileScanMode::Type mode) const;

    std::unique_ptr<PrivateFileSystem> m_files;
};

} // namespace tfs::test
