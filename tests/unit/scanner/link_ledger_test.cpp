// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/link_ledger.h>

#include <gtest/gtest.h>

namespace tfs::service::scan {
namespace {

using Answer = LinkLedger::Answer;

struct stat File(long seconds = 5) {
    struct stat file {};
    file.st_dev = 8;
    file.st_ino = 9;
    file.st_size = 100;
    file.st_nlink = 3;
    file.st_ctim.tv_sec = seconds;
    return file;
}

TEST(LinkLedger, NamesWaitForTheFirstOnesVerdict) {
    LinkLedger ledger;
    EXPECT_EQ(ledger.Ask(File(), "/a"), Answer::Scan);
    EXPECT_EQ(ledger.Ask(File(), "/b"), Answer::Wait);
    EXPECT_EQ(ledger.Settle(File(), {VerdictCode::Infected, "Name", {}, {}}), std::vector<std::string>{"/b"});
    EXPECT_EQ(ledger.Ask(File(), "/c"), Answer::Known);
    EXPECT_EQ(ledger.Verdict(File()).threat, "Name");
    EXPECT_TRUE(ledger.Settle(File(), {}).empty());
}

TEST(LinkLedger, AFileThatChangedBetweenTwoNamesIsScannedAgain) {
    LinkLedger ledger;
    ledger.Ask(File(), "/a");
    ledger.Settle(File(), {});
    EXPECT_EQ(ledger.Ask(File(6), "/b"), Answer::Scan) << "clean was said of its earlier content";
    EXPECT_EQ(ledger.Ask(File(6), "/c"), Answer::Wait);
    EXPECT_EQ(ledger.Settle(File(6), {VerdictCode::Infected, "Name", {}, {}}), std::vector<std::string>{"/c"});
    EXPECT_EQ(ledger.Ask(File(6), "/d"), Answer::Known);
}

TEST(LinkLedger, ANameThatLedNowhereDoesNotSpeakForTheOthers) {
    LinkLedger ledger;
    EXPECT_EQ(ledger.Ask(File(), "/gone"), Answer::Scan);
    ledger.Withdraw(File());
    EXPECT_EQ(ledger.Ask(File(), "/there"), Answer::Scan);
}

} // namespace
} // namespace tfs::service::scan
