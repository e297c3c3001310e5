// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/scan_tally.h>

#include <gtest/gtest.h>

namespace tfs::service::scan {
namespace {

TEST(ScanTally, PercentNeverFallsAndIsFullOnlyAtTheEnd) {
    ScanTally tally;
    tally.Scanned(1000000, true, false);
    EXPECT_EQ(tally.Take(false).percent, 0u) << "nothing is known of the total yet";
    tally.SetTotal(2 * (1000000 + FileWeight), true);
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

} // namespace
} // namespace tfs::service::scan
