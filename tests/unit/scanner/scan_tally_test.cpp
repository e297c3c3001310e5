// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/scan_tally.h>

#include <gtest/gtest.h>

namespace tfs::service::scan {
namespace {

TEST(ScanTally, PercentNeverFallsAndIsFullOnlyAtTheEnd) {
    ScanTally tally;
    tally.Scanned(1000000, true, false);
    EXPECT_EQ(tally.Take(false).percent, 0u) << "nothing is known of the total yet";
    tally.SetTotal(2 * (1000000 + FileWeight), 0);
    EXPECT_EQ(tally.Take(false).percent, 50u);
    tally.InWork(800000);
    const std::uint32_t inWork = tally.Take(false).percent;
    EXPECT_GT(inWork, 80u);
    tally.InWork(-800000);
    EXPECT_EQ(tally.Take(false).percent, inWork) << "a lost worker doesn't take progress back";
    for (int i = 0; i < 5; ++i) // the tree grew since it was counted
        tally.Scanned(1000000, true, false);
    EXPECT_EQ(tally.Take(false).percent, 99u);
    EXPECT_EQ(tally.Take(true).percent, 100u);
}

TEST(ScanTally, EachKindIsCountedOnce) {
    ScanTally tally;
    tally.Scanned(10, true, false);
    tally.Scanned(20, true, true);
    tally.Scanned(20, false, true); // another name of the same file
    tally.NotProcessed(5, true);
    tally.NotProcessed(5, false);
    tally.Unreadable();
    tally.Skipped();
    const ScanProgress counters = tally.Take(false);
    EXPECT_EQ(counters.scannedObjects, 3u);
    EXPECT_EQ(counters.scannedBytes, 30u);
    EXPECT_EQ(counters.threats, 2u);
    EXPECT_EQ(counters.notProcessed, 3u);
    EXPECT_EQ(counters.encrypted, 1u);
    EXPECT_EQ(counters.skipped, 1u);
}

TEST(ScanTally, ARunThatGoesOnBeginsWhereTheFirstOneWas) {
    ScanTally tally;
    tally.SetTotal(1000 * FileWeight, 400 * FileWeight);
    EXPECT_EQ(tally.Take(false).percent, 40u);
    for (int i = 0; i < 300; ++i)
        tally.Scanned(0, true, false);
    EXPECT_EQ(tally.Take(false).percent, 70u);
    tally.SetTotal(2000 * FileWeight, 400 * FileWeight); // the better number came late
    EXPECT_EQ(tally.Take(false).percent, 70u);
}

TEST(ScanTally, TheTimeLeftSettlesEarlyAndLeavesPausesOut) {
    using std::chrono::milliseconds;
    ScanTally tally;
    tally.SetTotal(1000 * FileWeight, 0);
    TimeEstimate::Clock::time_point now{};
    const auto files = [&](int count, int perStep) { // four steps a second
        ScanProgress progress;
        for (int i = 0; i < count; ++i) {
            for (int file = 0; file < perStep; ++file)
                tally.Scanned(0, true, false);
            progress = tally.Take(false, now += milliseconds(250));
        }
        return progress;
    };
    EXPECT_FALSE(files(4, 1).secondsLeft);
    const auto early = files(16, 1).secondsLeft; // 20 files in 5 s; 980 to go
    ASSERT_TRUE(early);
    EXPECT_NEAR(*early, 245, 25);
    tally.Held();
    now += std::chrono::hours(5);
    EXPECT_NEAR(*files(4, 1).secondsLeft, 245, 25);
    const auto faster = files(140, 4).secondsLeft; // the last half minute counts: 584 done at 16 a second
    ASSERT_TRUE(faster);
    EXPECT_NEAR(*faster, 26, 3);
    EXPECT_EQ(tally.Take(true, now).secondsLeft, 0u);
}

} // namespace
} // namespace tfs::service::scan
