// SPDX-License-Identifier: GPL-2.0-or-later
// What scans do with the files in which they find something.
#include <service/tasks/threat_treatment.h>
#include <tests/unit/service/task_registry_fixture.h>

#include <fcntl.h>

namespace tfs::service::tasks {
namespace {

using types::ObjectNotDisinfectedReason;

class FakeKeeper final : public storage::IObjectKeeper {
public:
    result_t Take(const storage::FoundObject& object, BackupId& id, std::string& why) noexcept override {
        taken.push_back(object);
        isOpen = ::fcntl(object.file, F_GETFD) >= 0;
        id = 77;
        why = ULK_SUCCEEDED(result) ? "" : "no room";
        return result;
    }
    result_t result = ulk::sOk;
    std::vector<storage::FoundObject> taken;
    bool isOpen = false;
};

struct ThreatTreatmentTest : TaskRegistryTest {
    ThreatTreatmentTest() { m_factories[task_type::ODS] = &m_takingScans; }

    /// A run of the full scan with the action, in which one threat is found; its counters.
    ScanStatistic ScanOnce(const char* action, bool withFile = true) {
        Make();
        std::vector<tfs::settings::ValidationMessage> messages;
        EXPECT_EQ(m_registry->SetSettings(Administrator, u"2",
                                          {ScanSettings::TypeNumber, {{"FirstAction", action}}, false}, false,
                                          messages),
                  ulk::sOk);
        const int number = m_engine.Made() + 1;
        EXPECT_EQ(Do(TaskCommand::Start), ulk::sOk);
        ScriptedRun* run = m_engine.Run(number);
        EXPECT_TRUE(Reaches(u"2", TaskState::Started));
        scan::ThreatFound threat{"/srv/bad", "", "Win.Trojan.X", 5, 1000};
        if (withFile)
            threat.file = std::make_shared<const scanner::Descriptor>(::open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
        run->Observer().OnThreat(threat);
        run->Finish();
        EXPECT_TRUE(Reaches(u"2", TaskState::Stopped));
        OxsStatistic statistic;
        EXPECT_EQ(m_registry->GetStatistic(u"Scan_My_Computer", statistic), ulk::sOk);
        return statistic.scan;
    }

    FakeKeeper m_keeper;
    ScanRunFactory m_takingScans{m_engine, {}, &m_keeper};
};

TEST_F(ThreatTreatmentTest, TheActionDecidesWhetherTheFileIsTaken) {
    const struct {
        const char* action;
        bool takes;
    } rows[] = {{"Skip", false}, {"Block", false}, {"Recommended", true}, {"Cure", true}, {"Remove", true}};
    for (const auto& row : rows) {
        m_keeper.taken.clear();
        m_recorder.Clear();
        const ScanStatistic counters = ScanOnce(row.action);
        EXPECT_EQ(counters.threatsFound, 1u) << row.action;
        EXPECT_EQ(counters.backedUpObjects, row.takes ? 1u : 0u) << row.action;
        EXPECT_EQ(counters.deletedObjects, row.takes ? 1u : 0u) << row.action;
        EXPECT_EQ(counters.notCuredObjects, row.takes ? 0u : 1u) << row.action;
        ASSERT_EQ(m_keeper.taken.size(), row.takes ? 1u : 0u) << row.action;
        EXPECT_EQ(m_recorder.Has(EventName::ObjectDeleted), row.takes) << row.action;
        EXPECT_FALSE(m_recorder.Has(EventName::ObjectNotDisinfected)) << row.action;
    }
    EXPECT_TRUE(m_keeper.isOpen);
    const storage::FoundObject& object = m_keeper.taken[0];
    EXPECT_EQ(object.path, "/srv/bad");
    EXPECT_EQ(object.detectName, "Win.Trojan.X");
    EXPECT_EQ(object.taskId, 2u);
    EXPECT_NE(object.runId, 0u);
    EXPECT_FALSE(object.rightsOf) << "the full scan is the service's own";
    const auto deleted = m_recorder.Of(EventName::ObjectDeleted);
    EXPECT_EQ(ValueOf<std::uint64_t>(deleted.at(0), AdditionalName::ObjectId), 77u);
}

TEST_F(ThreatTreatmentTest, WhatStaysIsToldWithItsReason) {
    const struct {
        result_t code;
        bool withFile;
        ObjectNotDisinfectedReason::Type reason;
    } rows[] = {{ulk::eInsufficientResources, true, ObjectNotDisinfectedReason::OutOfSpace},
                {ulk::eAlreadyDone, true, ObjectNotDisinfectedReason::ObjectNotFound},
                {ulk::eAccessDenied, true, ObjectNotDisinfectedReason::NoPermissions},
                {eReadOnlyFileSystem, true, ObjectNotDisinfectedReason::WriteProtect},
                {ulk::eUnexpected, true, ObjectNotDisinfectedReason::CannotBackup},
                {ulk::sOk, false, ObjectNotDisinfectedReason::ObjectNotFound}};
    for (const auto& row : rows) {
        m_recorder.Clear();
        m_keeper.result = row.code;
        const ScanStatistic counters = ScanOnce("Remove", row.withFile);
        EXPECT_EQ(counters.notCuredObjects, 1u);
        EXPECT_EQ(counters.backedUpObjects + counters.deletedObjects, 0u);
        const auto told = m_recorder.Of(EventName::ObjectNotDisinfected);
        ASSERT_EQ(told.size(), 1u);
        EXPECT_EQ(ValueOf<std::uint32_t>(told[0], AdditionalName::ObjectNotDisinfectedReason),
                  static_cast<std::uint32_t>(row.reason));
        EXPECT_FALSE(m_recorder.Has(EventName::ObjectDeleted));
    }
}

} // namespace
} // namespace tfs::service::tasks
