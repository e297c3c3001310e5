// SPDX-License-Identifier: GPL-2.0-or-later
// One signature set is exchanged for another while files are being scanned: nobody waits, nothing is lost, and what
// can't be loaded is refused.
#include <tests/unit/scanner/scan_files.h>
#include <tests/unit/scanner/scan_harness.h>

#include <csignal>
#include <filesystem>
#include <future>
#include <gtest/gtest.h>
#include <memory>

namespace tfs::test {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t Files = 600;

class ScannerSwap : public testing::Test {
protected:
    ScannerSwap() { FillSecondSet(m_second); }

    result_t Replace(const std::string& folder) {
        m_why.clear();
        return m_scanner.Service().Replace(folder, {}, m_why);
    }
    std::string ThreatIn(const std::string& path) {
        RunningScan scan(m_scanner.Service(), Area(path));
        EXPECT_EQ(scan.Result().end, ScanEnd::Completed);
        return scan.Observer().ThreatOf(path);
    }

    TemporaryFolder m_second;
    Scanner m_scanner;
    std::string m_why;
};

TEST_F(ScannerSwap, TheNewSetIsInUseAndNothingIsLeftOfTheOld) {
    const TemporaryFolder folder;
    const std::string sample = folder.Write("sample", NewMarker);
    WaitUntilOld(sample);
    EXPECT_EQ(ThreatIn(sample), "");
    const ScannerState before = m_scanner.Service().State();
    const std::uint64_t version = m_scanner.Service().Inner()->BasesVersion();
    const std::vector<pid_t> workers = m_scanner.Workers();
    const pid_t parent = m_scanner.Parent();

    ASSERT_EQ(Replace(m_second.Path()), ulk::sOk) << m_why;
    EXPECT_EQ(m_scanner.Service().State().signatures, before.signatures + 1);
    EXPECT_TRUE(m_scanner.Service().State().loaded);
    EXPECT_NE(m_scanner.Service().Inner()->BasesVersion(), version);
    EXPECT_EQ(ThreatIn(sample), "Test.Second") << "remembered as clean from the set before";
    EXPECT_TRUE(Eventually([&] { return ProcessState(parent) == '\0'; }));
    for (const pid_t worker : workers)
        EXPECT_TRUE(Eventually([&] { return ProcessState(worker) == '\0'; }));

    ASSERT_EQ(::kill(m_scanner.Parent(), SIGKILL), 0);
    EXPECT_EQ(ThreatIn(sample), "Test.Second") << "started again with the set before";
    ASSERT_EQ(Replace(TESL_TEST_BASES), ulk::sOk) << m_why;
    EXPECT_EQ(ThreatIn(sample), "");
    EXPECT_EQ(m_scanner.Service().Inner()->BasesVersion(), version) << "the same set has another version";
}

TEST_F(ScannerSwap, WhatCantBeLoadedIsRefusedAndTheOldSetStays) {
    const TemporaryFolder damaged;
    const TemporaryFolder folder;
    const std::string sample = folder.Write("sample", MarkerThreat());
    damaged.Write("a.ndb", "Name:0:*:zzzz\n");
    const std::uint64_t version = m_scanner.Service().Inner()->BasesVersion();
    const pid_t parent = m_scanner.Parent();
    for (const std::string& bad : {damaged.Path(), folder.Path(), folder / "missing"}) {
        EXPECT_EQ(Replace(bad), ulk::eNotReady) << bad;
        EXPECT_FALSE(m_why.empty()) << bad;
    }
    std::string why;
    EXPECT_EQ(m_scanner.Service().Replace(
                  m_second.Path(), [] { return true; }, why),
              ulk::eCancelled);
    EXPECT_EQ(m_scanner.Parent(), parent);
    EXPECT_EQ(m_scanner.Service().Inner()->BasesVersion(), version);
    EXPECT_TRUE(m_scanner.Service().State().loaded);
    EXPECT_EQ(ThreatIn(sample), "Tolvander.Test.Marker");
    m_scanner.Service().Stop();
    EXPECT_EQ(Replace(m_second.Path()), ulk::eNotReady);
}

TEST_F(ScannerSwap, TheNewOneKilledWhileItLoadsChangesNothing) {
    const pid_t parent = m_scanner.Parent();
    auto replaced = std::async(std::launch::async, [&] { return Replace(m_second.Path()); });
    pid_t next = -1;
    ASSERT_TRUE(Eventually([&] { return (next = m_scanner.Service().Inner()->NextParentProcess()) > 0; }));
    ASSERT_EQ(::kill(next, SIGKILL), 0);
    EXPECT_EQ(replaced.get(), ulk::eNotReady);
    EXPECT_FALSE(m_why.empty());
    EXPECT_EQ(m_scanner.Parent(), parent);
    EXPECT_EQ(Replace(m_second.Path()), ulk::sOk) << m_why;
}

TEST_F(ScannerSwap, TheOldOneKilledMeanwhileLosesNothing) {
    const TemporaryFolder folder;
    for (std::size_t i = 0; i < Files; ++i)
        folder.Write("f" + std::to_string(i), MarkerThreat() + std::to_string(i));
    RunningScan scan(m_scanner.Service(), Area(folder.Path()));
    auto replaced = std::async(std::launch::async, [&] { return Replace(m_second.Path()); });
    ASSERT_TRUE(Eventually([&] { return m_scanner.Service().Inner()->NextParentProcess() > 0; }));
    ::kill(m_scanner.Parent(), SIGKILL);
    EXPECT_EQ(replaced.get(), ulk::sOk) << m_why;
    EXPECT_EQ(scan.Result().counters.threats, Files);
    EXPECT_EQ(scan.Result().counters.notProcessed, 0u);
}

TEST_F(ScannerSwap, APausedFileInHandIsScannedByTheNewSet) {
    const TemporaryFolder folder;
    const std::string sample = folder.Write("large", Noise(100u << 20) + NewMarker);
    std::unique_ptr<RunningScan> running;
    ASSERT_TRUE(Eventually([&] { // a run may be over before it can be paused
        // Or else what the last one has found clean would not be read again.
        std::filesystem::last_write_time(sample, std::filesystem::file_time_type::clock::now());
        running = std::make_unique<RunningScan>(m_scanner.Service(), Area(sample));
        return PauseInAFile(m_scanner, *running);
    }));
    RunningScan& scan = *running;
    const pid_t parent = m_scanner.Parent();
    ASSERT_EQ(Replace(m_second.Path()), ulk::sOk) << m_why;
    EXPECT_TRUE(Eventually([&] { return ProcessState(parent) == '\0'; })) << "kept in memory for a paused scan";
    EXPECT_FALSE(scan.Ended());
    scan.Run().Resume();
    EXPECT_EQ(scan.Result().counters.notProcessed, 0u);
    EXPECT_EQ(scan.Observer().ThreatOf(sample), "Test.Second");
}

TEST_F(ScannerSwap, SurvivesAStormOfSwapsPausesAndStops) {
    const TemporaryFolder folder;
    for (std::size_t i = 0; i < Files; ++i)
        folder.Write("f" + std::to_string(i), MarkerThreat() + std::to_string(i));
    std::atomic<bool> over{false};
    std::thread swapper([&] {
        for (int i = 0; !over; ++i)
            EXPECT_EQ(Replace(i % 2 == 0 ? m_second.Path() : TESL_TEST_BASES), ulk::sOk) << m_why;
    });
    for (int round = 0; round < 12; ++round) {
        RunningScan kept(m_scanner.Service(), Area(folder.Path()));
        RunningScan stopped(m_scanner.Service(), Area(folder.Path()));
        for (int i = 0; i < 50; ++i) {
            kept.Run().Pause();
            stopped.Run().Pause();
            kept.Run().Resume();
        }
        stopped.Run().Stop();
        EXPECT_EQ(stopped.Result().end, ScanEnd::Stopped);
        const ScanResult result = kept.Result();
        EXPECT_EQ(result.end, ScanEnd::Completed);
        EXPECT_EQ(result.counters.threats, Files);
        EXPECT_EQ(result.counters.notProcessed, 0u);
    }
    over = true;
    swapper.join();
}

} // namespace
} // namespace tfs::test
