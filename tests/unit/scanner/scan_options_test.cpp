// SPDX-License-Identifier: GPL-2.0-or-later
// What a run may ask for beyond its areas: exclusions, archives, limits.
#include <tests/unit/scanner/scan_files.h>
#include <tests/unit/scanner/scan_harness.h>

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace tfs::test {
namespace {

class ScanOptionsTest : public testing::Test {
protected:
    Scanner m_scanner;
    TemporaryFolder m_folder;
};

TEST_F(ScanOptionsTest, MasksLeaveFilesAndFoldersOut) {
    for (const char* name : {"keep/a.com", "keep/a.iso", "node_modules/x/b.com", "deep/node_modules/c.com"})
        m_folder.Write(name, TestThreat());
    ScanOptions options = Area(m_folder.Path());
    options.excludedMasks = {"*.iso", m_folder.Path() + "/node_*"};
    RunningScan scan(m_scanner.Service(), options);
    EXPECT_EQ(scan.Result().counters.threats, 2u);
    EXPECT_EQ(scan.Observer().ThreatOf(m_folder / "keep/a.iso"), "");
    EXPECT_NE(scan.Observer().ThreatOf(m_folder / "deep/node_modules/c.com"), "");
    EXPECT_EQ(scan.Result().counters.percent, 100u);
}

TEST_F(ScanOptionsTest, ArchivesCanStayShutAndAreNotRememberedAsClean) {
    const std::string archive = m_folder.Write("a.tar.gz", "");
    m_folder.Write("src/e.com", TestThreat());
    RunCommand("tar -C '" + m_folder.Path() + "' -czf '" + archive + "' src && rm -r '" + m_folder.Path() + "/src'");
    const std::string damaged = m_folder.Write("b.zip", Zip({{"x", Noise(4000)}}).substr(0, 3000));
    const std::string plain = m_folder.Write("e.com", TestThreat());
    WaitUntilOld(plain);
    ScanOptions options = Area(m_folder.Path());
    options.scanArchives = false;
    RunningScan shut(m_scanner.Service(), options);
    EXPECT_EQ(shut.Result().counters.threats, 1u);
    EXPECT_EQ(shut.Result().counters.scannedObjects, 3u);
    EXPECT_EQ(shut.Observer().ReasonOf(damaged), "") << "read as a plain file";
    RunningScan opened(m_scanner.Service(), Area(m_folder.Path()));
    EXPECT_EQ(opened.Result().counters.threats, 2u);
    EXPECT_NE(opened.Observer().ReasonOf(damaged), "");
}

TEST_F(ScanOptionsTest, ASizeLimitIsReportedEvenOfAFileThatIsKnownToBeClean) {
    m_folder.Write("small", "clean");
    const std::string large = m_folder.Write("large", Noise(5000));
    WaitUntilOld(large);
    EXPECT_EQ(RunningScan(m_scanner.Service(), Area(m_folder.Path())).Result().counters.scannedObjects, 2u);
    ScanOptions options = Area(m_folder.Path());
    options.maxFileSize = 4999;
    for (int i = 0; i < 2; ++i) {
        RunningScan scan(m_scanner.Service(), options);
        EXPECT_EQ(scan.Result().counters.scannedObjects, 1u);
        EXPECT_EQ(scan.Observer().ReasonOf(large), "over a limit");
    }
    options.maxFileSize = 5000;
    EXPECT_EQ(RunningScan(m_scanner.Service(), options).Result().counters.notProcessed, 0u);
}

TEST_F(ScanOptionsTest, ATimeLimitHoldsForItsRunAlone) {
    const std::string large = m_folder.Write("large", Noise(120u << 20));
    ScanOptions options = Area(m_folder.Path());
    options.fileTimeLimitMs = 50;
    RunningScan hurried(m_scanner.Service(), options);
    EXPECT_EQ(hurried.Result().counters.scannedObjects, 0u);
    EXPECT_EQ(hurried.Observer().ReasonOf(large), "takes too long");
    EXPECT_EQ(RunningScan(m_scanner.Service(), Area(large)).Result().counters.scannedObjects, 1u);
}

TEST_F(ScanOptionsTest, AHundredRunsAtOnceNeedFewDescriptors) {
    constexpr int Runs = 100;
    constexpr int Files = 60;
    for (int i = 0; i < Files; ++i)
        m_folder.Write("d/f" + std::to_string(i), MarkerThreat() + Noise(20000, static_cast<std::uint32_t>(i)));
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit usual{1024, before.rlim_max}; // of a service that nobody gave more
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &usual), 0);
    {
        std::vector<std::unique_ptr<RunningScan>> scans;
        for (int i = 0; i < Runs; ++i)
            scans.push_back(std::make_unique<RunningScan>(m_scanner.Service(), Area(m_folder / "d")));
        for (const auto& scan : scans) {
            const ScanResult result = scan->Result();
            EXPECT_EQ(result.counters.threats, static_cast<std::uint64_t>(Files));
            EXPECT_EQ(result.counters.notProcessed, 0u);
        }
    }
    ::setrlimit(RLIMIT_NOFILE, &before);
}

} // namespace
} // namespace tfs::test
