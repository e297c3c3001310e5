// SPDX-License-Identifier: GPL-2.0-or-later
// Workers and the parent are killed, hang or come to their share in the middle of a run: nothing is lost, nothing stays
// behind.
#include <tests/unit/scanner/scan_files.h>
#include <tests/unit/scanner/scan_harness.h>

#include <csignal>
#include <gtest/gtest.h>

namespace tfs::test {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t Files = 3000;
constexpr std::size_t Threats = Files / 100;

/// A tree whose counts are known.
void FillTree(const TemporaryFolder& folder) {
    for (std::size_t i = 0; i < Files; ++i)
        folder.Write("d" + std::to_string(i % 20) + "/f" + std::to_string(i),
                     i % 100 == 0 ? TestThreat() : "content of file " + std::to_string(i));
}

void ExpectNothingLost(const ScanResult& result, const RecordingObserver& observer) {
    EXPECT_EQ(result.end, ScanEnd::Completed);
    EXPECT_EQ(result.counters.scannedObjects + result.counters.notProcessed, Files);
    EXPECT_EQ(observer.NotProcessedObjects().size(), result.counters.notProcessed);
    EXPECT_EQ(observer.Threats().size(), result.counters.threats);
    EXPECT_EQ(result.counters.percent, 100u);
}

/// Two reports in a row told the same: the run waits for what a stopped worker holds.
bool StandsStill(RunningScan& scan) {
    const auto progress = scan.Observer().Progress();
    return progress.size() > 1 && progress.back().scannedObjects == progress[progress.size() - 2].scannedObjects;
}

/// Stops the first worker that is found at a file; 0 where the run ended before.
pid_t StopOneAtWork(Scanner& scanner, const RunningScan& scan) {
    pid_t stopped = 0;
    EXPECT_TRUE(Eventually([&] {
        for (const pid_t worker : scanner.Workers())
            if (stopped == 0 && IsAtWork(worker) && ::kill(worker, SIGSTOP) == 0)
                stopped = worker;
        return stopped != 0 || scan.Ended();
    }));
    return stopped;
}

bool Gone(const std::vector<pid_t>& processes) {
    return std::all_of(processes.begin(), processes.end(), [](pid_t each) {
        const char state = ProcessState(each);
        return state == '\0' || state == 'Z' || state == 'X';
    });
}

TEST(ScannerFaults, WorkersKilledOverAndOverLoseNothing) {
    const TemporaryFolder folder;
    FillTree(folder);
    Scanner scanner;
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    int kills = 0;
    while (!scan.Ended() && kills < 40) {
        for (const pid_t worker : scanner.Workers())
            if (kills < 40 && IsAtWork(worker) && ::kill(worker, SIGKILL) == 0)
                ++kills;
        // The next round when these have been replaced.
        Eventually([&] { return scan.Ended() || scanner.Workers().size() >= scanner.Service().State().workers; }, 1s);
    }
    EXPECT_GT(kills, 0);
    const ScanResult result = scan.Result();
    ExpectNothingLost(result, scan.Observer());
    for (const NotProcessed& object : scan.Observer().NotProcessedObjects())
        EXPECT_EQ(object.reason, NotProcessedReason::EngineFailed) << object.detail;
}

TEST(ScannerFaults, OneWorkerKilledCostsOnlyARetry) {
    const TemporaryFolder folder;
    FillTree(folder);
    Scanner scanner;
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    const pid_t worker = StopOneAtWork(scanner, scan);
    ASSERT_NE(worker, 0);
    ASSERT_TRUE(Eventually([&] { return scan.Ended() || StandsStill(scan); }));
    ASSERT_FALSE(scan.Ended()) << "the stopped worker held no file";
    ASSERT_EQ(::kill(worker, SIGKILL), 0);
    const ScanResult result = scan.Result();
    ExpectNothingLost(result, scan.Observer());
    EXPECT_EQ(result.counters.notProcessed, 0u);
    EXPECT_EQ(result.counters.threats, Threats);
}

TEST(ScannerFaults, AHungWorkerIsReplacedAndItsFileTriedOnceMore) {
    const TemporaryFolder folder;
    FillTree(folder);
    ScannerConfig config = TestConfig();
    config.fileTimeLimitMs = 1000;
    Scanner scanner(config);
    const auto workers = scanner.Workers();
    ASSERT_FALSE(workers.empty());
    for (const pid_t worker : workers)
        ASSERT_EQ(::kill(worker, SIGSTOP), 0);
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    const ScanResult result = scan.Result();
    ExpectNothingLost(result, scan.Observer());
    EXPECT_EQ(result.counters.notProcessed, 0u) << "the second try succeeds";
    EXPECT_EQ(result.counters.threats, Threats);
    EXPECT_TRUE(Eventually([&] { return Gone(workers); }));
}

TEST(ScannerFaults, AFileThatHangsEveryWorkerIsReported) {
    const TemporaryFolder folder;
    // Large enough to be still in hand when its worker is stopped.
    const std::string path = folder.Write("file", Noise(16u << 20));
    ScannerConfig config = TestConfig();
    config.fileTimeLimitMs = 1000;
    config.maxWorkers = 1;
    Scanner scanner(config);
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    std::vector<pid_t> stopped;
    while (!scan.Ended()) { // each new worker too
        const pid_t worker = StopOneAtWork(scanner, scan);
        if (worker == 0)
            break;
        stopped.push_back(worker);
        EXPECT_TRUE(Eventually([&] { return scan.Ended() || Gone({worker}); })) << "a hung worker is replaced";
    }
    EXPECT_EQ(scan.Result().end, ScanEnd::Completed);
    // One that was only starting may have been stopped too.
    EXPECT_GE(stopped.size(), 2u) << "the file is tried once more";
    EXPECT_EQ(scan.Observer().ReasonOf(path), "takes too long");
    EXPECT_EQ(scan.Result().counters.scannedObjects, 0u);
    EXPECT_EQ(scan.Result().counters.notProcessed, 1u);
}

TEST(ScannerFaults, TheParentKilledInMidScanLosesNothing) {
    const TemporaryFolder folder;
    FillTree(folder);
    Scanner scanner;
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    for (int i = 0; i < 3; ++i) {
        ASSERT_NE(StopOneAtWork(scanner, scan), 0) << "with a worker that holds a file the run can't end";
        const pid_t parent = scanner.Parent();
        const auto workers = scanner.Workers();
        ASSERT_GT(parent, 0);
        ASSERT_EQ(::kill(parent, SIGKILL), 0);
        EXPECT_TRUE(Eventually([&] { return Gone(workers); })) << "workers end with their parent";
        ASSERT_TRUE(Eventually([&] { return scanner.Parent() > 0 && scanner.Parent() != parent; }));
        ASSERT_FALSE(scan.Ended());
    }
    const ScanResult result = scan.Result();
    ExpectNothingLost(result, scan.Observer());
    EXPECT_EQ(result.counters.notProcessed, 0u);
    EXPECT_EQ(result.counters.threats, Threats);
    EXPECT_TRUE(scanner.Service().State().loaded);
}

TEST(ScannerFaults, WorkersAreRecycledAfterTheirShare) {
    const TemporaryFolder folder;
    FillTree(folder);
    ScannerConfig config = TestConfig();
    config.filesPerWorker = 50;
    Scanner scanner(config);
    const auto first = scanner.Workers();
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    const ScanResult result = scan.Result();
    ExpectNothingLost(result, scan.Observer());
    EXPECT_EQ(result.counters.notProcessed, 0u);
    EXPECT_TRUE(Eventually([&] { return Gone(first); }));
}

TEST(ScannerFaults, StopOfTheServiceAnswersARunAndLeavesNothing) {
    const TemporaryFolder folder;
    FillTree(folder);
    const std::size_t descriptors = OpenDescriptors();
    std::vector<pid_t> processes;
    {
        Scanner scanner;
        RunningScan scan(scanner.Service(), Area(folder.Path()));
        ASSERT_TRUE(Eventually([&] { return scanner.Workers().size() == scanner.Service().State().workers; }));
        processes = scanner.Workers();
        processes.push_back(scanner.Parent());
        scanner.Service().Stop();
        EXPECT_NE(scan.Result().end, ScanEnd::Completed);
        EXPECT_FALSE(scanner.Service().State().loaded);
        EXPECT_TRUE(Eventually([&] { return Gone(processes); }));
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST(ScannerFaults, AStoppedParentIsReplacedWhenItIsNeeded) {
    const TemporaryFolder folder;
    FillTree(folder);
    ScannerConfig config = TestConfig();
    Scanner scanner(config);
    const pid_t parent = scanner.Parent();
    ASSERT_EQ(::kill(parent, SIGSTOP), 0);
    for (const pid_t worker : scanner.Workers())
        ::kill(worker, SIGKILL);
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    const ScanResult result = scan.Result();
    ExpectNothingLost(result, scan.Observer());
    EXPECT_EQ(result.counters.notProcessed, 0u);
    EXPECT_NE(scanner.Parent(), parent);
}

} // namespace
} // namespace tfs::test
