// SPDX-License-Identifier: GPL-2.0-or-later
// Whole runs over real files: what is found, counted, cached, paused and stopped.
#include <tests/unit/scanner/scan_files.h>
#include <tests/unit/scanner/scan_harness.h>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>

namespace tfs::test {
namespace {

using namespace std::chrono_literals;

/// One scanner for the tests that leave it as it was.
class ScanRunTest : public testing::Test {
protected:
    static void SetUpTestSuite() { s_scanner = new Scanner; }
    static void TearDownTestSuite() {
        delete s_scanner;
        s_scanner = nullptr;
    }
    void SetUp() override { ASSERT_TRUE(s_scanner->WaitUntilIdle()); }
    static ScannerService& Service() { return s_scanner->Service(); }
    static Scanner* s_scanner;
};
Scanner* ScanRunTest::s_scanner = nullptr;

TEST_F(ScanRunTest, FindsTheThreatPlainAndInsideContainers) {
    const TemporaryFolder folder;
    const std::string plain = folder.Write("plain.com", TestThreat());
    const std::string zip = folder.Write("one.zip", Zip({{"clean.txt", "hello"}, {"in/e.com", TestThreat()}}));
    const std::string nested = folder.Write("two.zip", Zip({{"inner.zip", Zip({{"e.com", TestThreat()}})}}));
    const std::string marker = folder.Write("marker.txt", MarkerThreat());
    const std::string hash =
        folder.Write("hash.bin", std::string("tolvander harmless sample: granite ") + "meadow thirty-one\n");
    folder.Write("src/e.com", TestThreat());
    const std::string tar = folder / "three.tar.gz";
    RunCommand("tar -C '" + folder.Path() + "' -czf '" + tar + "' src && rm -r '" + folder.Path() + "/src'");
    folder.Write("clean.txt", "nothing to see");
    RunningScan scan(Service(), Area(folder.Path()));
    const ScanResult result = scan.Result();
    EXPECT_EQ(result.end, ScanEnd::Completed);
    for (const std::string& path : {plain, zip, nested, tar})
        EXPECT_EQ(scan.Observer().ThreatOf(path), "EICAR-Test-File") << path;
    EXPECT_EQ(scan.Observer().ThreatOf(marker), "Tolvander.Test.Marker");
    EXPECT_EQ(scan.Observer().ThreatOf(hash), "Tolvander.Test.Hash");
    EXPECT_EQ(result.counters.threats, 6u);
    EXPECT_EQ(result.counters.scannedObjects, 7u);
    EXPECT_EQ(result.counters.notProcessed, 0u);
    EXPECT_EQ(result.counters.percent, 100u);
    for (const ThreatFound& threat : scan.Observer().Threats()) {
        const char* inner = threat.path == nested ? "inner.zip/e.com" : threat.path == zip ? "e.com" : "";
        if (threat.path != tar) {
            EXPECT_EQ(threat.innerName, inner) << threat.path;
        }
        EXPECT_EQ(threat.ownerUid, ::getuid());
        EXPECT_EQ(threat.size, std::filesystem::file_size(threat.path));
    }
}

TEST_F(ScanRunTest, FindsSamplesInsideEveryKindOfContainer) {
    // The same harmless program inside some forty containers; scanned for what the sandbox makes of their unpackers.
    const std::string samples = "/usr/share/clamav-testfiles";
    if (!std::filesystem::exists(samples))
        GTEST_SKIP() << "the package clamav-testfiles is not installed";
    RunningScan scan(Service(), Area(samples));
    const ScanResult result = scan.Result();
    EXPECT_EQ(result.end, ScanEnd::Completed);
    for (const NotProcessed& object : scan.Observer().NotProcessedObjects())
        EXPECT_EQ(object.reason, NotProcessedReason::Limit) << object.path << ": " << object.detail;
    EXPECT_GE(result.counters.scannedObjects, 40u);
}

TEST_F(ScanRunTest, AnInodeWithManyNamesIsReadOnceAndReportedForEach) {
    const TemporaryFolder folder;
    const std::string threat = folder.Write("a", TestThreat());
    const std::string clean = folder.Write("c", "clean content");
    for (int i = 0; i < 20; ++i) {
        std::filesystem::create_hard_link(threat, folder / ("threat" + std::to_string(i)));
        std::filesystem::create_hard_link(clean, folder / ("clean" + std::to_string(i)));
    }
    RunningScan scan(Service(), Area(folder.Path()));
    const ScanResult result = scan.Result();
    EXPECT_EQ(result.counters.threats, 21u);
    EXPECT_EQ(scan.Observer().Threats().size(), 21u);
    EXPECT_EQ(result.counters.scannedObjects, 42u);
    EXPECT_EQ(result.counters.scannedBytes, TestThreat().size() + 13);
}

TEST_F(ScanRunTest, AnUnchangedTreeIsNotReadAgainAndAChangedFileIs) {
    const TemporaryFolder folder;
    std::string last;
    for (int i = 0; i < 20; ++i)
        last = folder.Write("f" + std::to_string(i), "clean " + std::to_string(i));
    WaitUntilOld(last);
    ASSERT_EQ(RunningScan(Service(), Area(folder.Path())).Result().counters.scannedObjects, 20u);
    // With all workers stopped only what is remembered can have a verdict.
    const auto workers = s_scanner->Workers();
    for (const pid_t worker : workers)
        ::kill(worker, SIGSTOP);
    const ScanResult again = RunningScan(Service(), Area(folder.Path())).Result();
    for (const pid_t worker : workers)
        ::kill(worker, SIGCONT);
    EXPECT_EQ(again.end, ScanEnd::Completed);
    EXPECT_EQ(again.counters.scannedObjects, 20u);
    EXPECT_EQ(again.counters.percent, 100u);
    folder.Write("f7", TestThreat());
    EXPECT_EQ(RunningScan(Service(), Area(folder.Path())).Result().counters.threats, 1u);
}

TEST(ScanRestart, AnUnchangedTreeIsNotReadAgainByTheNextProcess) {
    const TemporaryFolder folder;
    struct stat root {};
    struct stat here {};
    ASSERT_TRUE(::stat("/", &root) == 0 && ::stat(folder.Path().c_str(), &here) == 0);
    if (root.st_dev != here.st_dev)
        GTEST_SKIP() << "only files of the root file system are remembered";
    for (int i = 0; i < 10; ++i)
        folder.Write("tree/f" + std::to_string(i), "clean " + std::to_string(i));
    WaitUntilOld(folder / "tree/f9");
    ScannerConfig config = TestConfig();
    config.cacheFile = folder / "clean";
    {
        Scanner scanner(config);
        EXPECT_EQ(RunningScan(scanner.Service(), Area(folder / "tree")).Result().counters.scannedObjects, 10u);
    }
    Scanner scanner(config);
    const auto workers = scanner.Workers();
    for (const pid_t worker : workers)
        ::kill(worker, SIGSTOP); // only what is remembered can have a verdict
    const ScanResult again = RunningScan(scanner.Service(), Area(folder / "tree")).Result();
    for (const pid_t worker : workers)
        ::kill(worker, SIGCONT);
    EXPECT_EQ(again.counters.scannedObjects, 10u);
    EXPECT_EQ(again.counters.notProcessed, 0u);
}

TEST_F(ScanRunTest, StopsWithinASecondInsideALargeFile) {
    const TemporaryFolder folder;
    folder.Write("large", Noise(400u << 20));
    RunningScan scan(Service(), Area(folder.Path()));
    ASSERT_TRUE(Eventually([&] { return s_scanner->Busy(); }));
    const auto begin = std::chrono::steady_clock::now();
    scan.Run().Stop();
    const ScanResult result = scan.Result();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
    EXPECT_EQ(result.end, ScanEnd::Stopped);
    EXPECT_EQ(result.counters.scannedObjects, 0u);
    EXPECT_LT(result.counters.percent, 100u);
    // And the scanner is there for the next one.
    folder.Write("next/e.com", TestThreat());
    EXPECT_EQ(RunningScan(Service(), Area(folder / "next")).Result().counters.threats, 1u);
}

TEST_F(ScanRunTest, PauseHoldsTheFileInWorkAndResumeGoesOn) {
    const TemporaryFolder folder;
    const std::string content = Noise(150u << 20);
    folder.Write("large1", content);
    folder.Write("large2", content);
    folder.Write("e.com", TestThreat());
    RunningScan scan(Service(), Area(folder.Path()));
    ASSERT_TRUE(PauseInAFile(*s_scanner, scan)) << "the files were too small to be paused in";
    EXPECT_TRUE(Eventually([&] { return !s_scanner->Busy(); }, 1s));
    // Another user's scan is not held up by it.
    folder.Write("other/e.com", TestThreat());
    EXPECT_EQ(RunningScan(Service(), Area(folder / "other")).Result().counters.threats, 1u);
    EXPECT_FALSE(scan.Ended());
    scan.Run().Resume();
    const ScanResult result = scan.Result();
    EXPECT_EQ(result.end, ScanEnd::Completed);
    EXPECT_EQ(scan.Observer().ThreatOf(folder / "e.com"), "EICAR-Test-File");
    EXPECT_TRUE(scan.Observer().NotProcessedObjects().empty());
    EXPECT_GE(result.counters.scannedObjects, 3u);
}

TEST_F(ScanRunTest, HoldsOnlySoManyPausedFilesAndLosesNone) {
    ScannerConfig config = TestConfig();
    config.maxWorkers = 1;
    Scanner scanner(config);
    const TemporaryFolder folder;
    std::vector<std::unique_ptr<RunningScan>> scans;
    for (int i = 0; i < 5; ++i) { // one after the other is paused in the midst of a file
        folder.Write("area" + std::to_string(i) + "/large", Noise(150u << 20));
        ASSERT_TRUE(Eventually([&] { return !scanner.Busy(); }));
        scans.push_back(std::make_unique<RunningScan>(scanner.Service(), Area(folder / ("area" + std::to_string(i)))));
        ASSERT_TRUE(Eventually([&] { return scanner.Busy(); }));
        scans.back()->Run().Pause();
    }
    const auto held = [&] {
        const auto workers = scanner.Workers();
        return std::count_if(workers.begin(), workers.end(), [](pid_t each) { return ProcessState(each) == 'T'; });
    };
    EXPECT_TRUE(Eventually([&] { return !scanner.Busy(); }));
    EXPECT_LE(held(), 2);
    EXPECT_GE(held(), 1);
    for (const auto& scan : scans)
        scan->Run().Resume();
    for (const auto& scan : scans) {
        const ScanResult result = scan->Result();
        EXPECT_EQ(result.counters.scannedObjects, 1u);
        EXPECT_EQ(result.counters.notProcessed, 0u);
    }
}

TEST_F(ScanRunTest, SurvivesAStormOfPausesAndLosesNothing) {
    const TemporaryFolder folder;
    for (int i = 0; i < 300; ++i)
        folder.Write("f" + std::to_string(i), std::string(2000, static_cast<char>('a' + i % 26)));
    folder.Write("large", Noise(40u << 20));
    RunningScan scan(Service(), Area(folder.Path()));
    for (int i = 0; i < 200 && !scan.Ended(); ++i) {
        scan.Run().Pause();
        std::this_thread::yield();
        scan.Run().Resume();
    }
    const ScanResult result = scan.Result();
    EXPECT_EQ(result.end, ScanEnd::Completed);
    EXPECT_EQ(result.counters.scannedObjects, 301u);
    EXPECT_EQ(result.counters.notProcessed, 0u);
}

TEST_F(ScanRunTest, StopWhilePausedEndsAtOnceAndStopsOfManyRunsLeaveNothing) {
    const TemporaryFolder folder;
    folder.Write("large", Noise(100u << 20));
    const std::size_t descriptors = OpenDescriptors();
    for (int i = 0; i < 5; ++i) {
        RunningScan scan(Service(), Area(folder.Path()));
        scan.Run().Pause();
        scan.Run().Stop();
        EXPECT_EQ(scan.Result().end, ScanEnd::Stopped);
    }
    EXPECT_TRUE(Eventually([&] { return OpenDescriptors() <= descriptors + 2 * s_scanner->Workers().size(); }));
}

TEST_F(ScanRunTest, ProgressComesAtMostFourTimesASecondAndOnceMore) {
    const TemporaryFolder folder;
    for (int i = 0; i < 3; ++i)
        folder.Write("large" + std::to_string(i), Noise(60u << 20));
    const auto begin = std::chrono::steady_clock::now();
    RunningScan scan(Service(), Area(folder.Path()));
    const ScanResult result = scan.Result();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    const auto progress = scan.Observer().Progress();
    EXPECT_LE(static_cast<double>(progress.size()), 4 * seconds + 1);
    EXPECT_EQ(progress.back().percent, 100u);
    EXPECT_EQ(progress.back().scannedObjects, result.counters.scannedObjects);
}

TEST_F(ScanRunTest, HostileNamesComeThroughUnchanged) {
    const TemporaryFolder folder;
    const std::string names[] = {"a\nb", "\x1b[31m", "\xff\xfe", "$(touch x)"};
    for (const std::string& name : names)
        folder.Write(name, TestThreat());
    RunningScan scan(Service(), Area(folder.Path()));
    EXPECT_EQ(scan.Result().counters.threats, std::size(names));
    for (const std::string& name : names)
        EXPECT_FALSE(scan.Observer().ThreatOf(folder / name).empty());
}

} // namespace
} // namespace tfs::test
