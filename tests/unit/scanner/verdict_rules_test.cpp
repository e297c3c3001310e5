// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/verdict_rules.h>

#include <cerrno>
#include <clamav.h>
#include <gtest/gtest.h>

namespace tfs::scanner {
namespace {

EngineOutcome Outcome(int result) {
    EngineOutcome outcome;
    outcome.result = result;
    outcome.resultText = "text";
    return outcome;
}

TEST(VerdictRules, OnlyAnUndisturbedCleanResultIsClean) {
    for (int result = CL_CLEAN; result < CL_ELAST_ERROR; ++result) {
        const VerdictCode code = Decide(Outcome(result)).code;
        EXPECT_EQ(code == VerdictCode::Clean, result == CL_CLEAN || result == CL_VERIFIED) << result;
        EXPECT_NE(code, VerdictCode::Infected) << result;
    }
}

TEST(VerdictRules, EveryDisturbanceOfACleanResultHasItsReason) {
    struct Row {
        const char* what;
        void (*disturb)(EngineOutcome&);
        VerdictCode expected;
    };
    const Row rows[] = {
        {"cancelled", [](EngineOutcome& o) { o.source = SourceTrouble::Cancelled; }, VerdictCode::Cancelled},
        {"read error", [](EngineOutcome& o) { o.source = SourceTrouble::ReadError; }, VerdictCode::ReadError},
        {"changed", [](EngineOutcome& o) { o.source = SourceTrouble::Changed; }, VerdictCode::Changed},
        {"time", [](EngineOutcome& o) { o.alert = "Heuristics.Limits.Exceeded.MaxScanTime"; }, VerdictCode::TimeLimit},
        {"parts", [](EngineOutcome& o) { o.alert = "Heuristics.Limits.Exceeded.MaxFiles"; }, VerdictCode::Limit},
        {"no name", [](EngineOutcome& o) { o.emptyAlert = true; }, VerdictCode::Limit},
        {"encrypted", [](EngineOutcome& o) { o.alert = "Heuristics.Encrypted.Zip"; }, VerdictCode::Encrypted},
        {"space", [](EngineOutcome& o) { o.fileTrouble = ENOSPC; }, VerdictCode::OutOfSpace},
        {"cut part", [](EngineOutcome& o) { o.archive.cut = true; }, VerdictCode::Limit},
        {"encrypted part", [](EngineOutcome& o) { o.archive.encrypted = true; }, VerdictCode::Encrypted},
        {"unread part", [](EngineOutcome& o) { o.archive.unread = true; }, VerdictCode::NotUnpacked},
        {"cut stream", [](EngineOutcome& o) { o.trouble = EngineTrouble::CutStream; }, VerdictCode::NotUnpacked},
        {"memory", [](EngineOutcome& o) { o.trouble = EngineTrouble::OutOfMemory; }, VerdictCode::Limit},
    };
    for (const Row& row : rows) {
        for (const int result : {CL_CLEAN, CL_VIRUS}) {
            EngineOutcome outcome = Outcome(result);
            row.disturb(outcome);
            EXPECT_EQ(Decide(outcome).code, row.expected) << row.what;
            outcome.threat = "Real.Threat.UNOFFICIAL";
            const Verdict verdict = Decide(outcome);
            EXPECT_EQ(verdict.code, VerdictCode::Infected) << row.what;
            EXPECT_EQ(verdict.threat, "Real.Threat");
        }
    }
}

TEST(VerdictRules, ScanAlertsAreNoThreats) {
    EXPECT_TRUE(IsScanAlert(""));
    EXPECT_TRUE(IsScanAlert("Heuristics.Limits.Exceeded.MaxRecursion"));
    EXPECT_TRUE(IsScanAlert("Heuristics.Encrypted.PDF"));
    EXPECT_FALSE(IsScanAlert("Heuristics.Phishing.Email.SpoofedDomain"));
    EXPECT_FALSE(IsScanAlert("Tolvander.Test.Marker"));
}

TEST(VerdictRules, TheEnginesLogTellsOfMemoryAndCutStreams) {
    EXPECT_EQ(TroubleOfMessage("LibClamAV Error: cli_scanxz: premature end of compressed stream"),
              EngineTrouble::CutStream);
    EXPECT_EQ(TroubleOfMessage("LibClamAV Error: cli_max_malloc(): Can't allocate memory (9 bytes)."),
              EngineTrouble::OutOfMemory);
    EXPECT_EQ(TroubleOfMessage("LibClamAV Warning: bad header"), EngineTrouble::None);
}

} // namespace
} // namespace tfs::scanner
