// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/link_ledger.h>

#include <gtest/gtest.h>

namespace tfs::service::scan {
namespace {

using Answer = LinkLedger::Answer;
using Names = std::vector<LinkLedger::Name>;

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
    EXPECT_EQ(ledger.Ask(File(), {"/a", 1}), Answer::Scan);
    EXPECT_EQ(ledger.Ask(File(), {"/b", 2}), Answer::Wait);
    EXPECT_EQ(ledger.Settle(File(), {VerdictCode::Infected, "Name", {}, {}}), (Names{{"/b", 2}}));
    EXPECT_EQ(ledger.Ask(File(), {"/c", 3}), Answer::Known);
    EXPECT_EQ(ledger.Verdict(File()).threat, "Name");
    EXPECT_TRUE(ledger.Settle(File(), {}).empty());
}

TEST(LinkLedger, AFileThatChangedBetweenTwoNamesIsScannedAgain) {
    LinkLedger ledger;
    ledger.Ask(File(), {"/a", 1});
    ledger.Settle(File(), {});
    EXPECT_EQ(ledger.Ask(File(6), {"/b", 2}), Answer::Scan) << "clean was said of its earlier content";
    EXPECT_EQ(ledger.Ask(File(6), {"/c", 3}), Answer::Wait);
    EXPECT_EQ(ledger.Settle(File(6), {VerdictCode::Infected, "Name", {}, {}}), (Names{{"/c", 3}}));
    EXPECT_EQ(ledger.Ask(File(6), {"/d", 4}), Answer::Known);
}

TEST(LinkLedger, ANameThatLedNowhereDoesNotSpeakForTheOthers) {
    LinkLedger ledger;
    EXPECT_EQ(ledger.Ask(File(), {"/gone", 1}), Answer::Scan);
    ledger.Withdraw(File());
    EXPECT_EQ(ledger.Ask(File(), {"/there", 2}), Answer::Scan);
}

} // namespace
} // namespace tfs::service::scan
