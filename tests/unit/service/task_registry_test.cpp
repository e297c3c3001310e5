// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/unit/service/task_registry_fixture.h>

namespace tfs::service::tasks {
namespace {

TEST_F(TaskRegistryTest, OnlyTheFullScanIsListedAtFirst) {
    Make();
    const auto list = m_registry->GetTaskList();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].taskId, 2u);
    EXPECT_EQ(list[0].taskName, u"Scan_My_Computer");
    EXPECT_EQ(list[0].taskType, u"ODS");
    EXPECT_EQ(list[0].state, TaskState::Stopped);
    EXPECT_EQ(list[0].cannotBeDeleted, true);
    EXPECT_EQ(m_registry->LastFullScan(), 0);
    OxsStatistic statistic;
    EXPECT_EQ(m_registry->GetStatistic(u"Scan_My_Computer", statistic), ulk::eNotFound);
    for (const char16_t* unknown : {u"", u"1", u"3", u"02x", u"99999999999999999999999999", u"scan_my_computer"})
        EXPECT_EQ(Do(TaskCommand::Start, unknown), ulk::eNotFound);
}

TEST_F(TaskRegistryTest, AFullScanGoesThroughItsStatesWithOneEventEach) {
    Make();
    EXPECT_EQ(Do(TaskCommand::Stop), ulk::eInvalidState);
    ASSERT_EQ(Do(TaskCommand::Start, u"Scan_My_Computer"), ulk::sOk);
    ASSERT_TRUE(Reaches(u"2", TaskState::Started));
    EXPECT_EQ(Do(TaskCommand::Start), ulk::eInvalidState);
    ScriptedRun* run = m_engine.Run(1);
    EXPECT_EQ(run->Options().areas.front(), "/");
    EXPECT_EQ(run->Options().excludedPaths, std::vector<std::string>{"/private"});
    ASSERT_EQ(Do(TaskCommand::Pause), ulk::sOk);
    ASSERT_TRUE(Reaches(u"2", TaskState::Suspended));
    EXPECT_TRUE(run->IsPaused());
    EXPECT_EQ(Do(TaskCommand::Start), ulk::eInvalidState);
    ASSERT_EQ(Do(TaskCommand::Resume), ulk::sOk);
    ASSERT_TRUE(Reaches(u"2", TaskState::Started));
    EXPECT_FALSE(run->IsPaused());
    scan::ScanResult result;
    result.counters.scannedObjects = 9;
    result.counters.scannedBytes = 900;
    result.counters.skipped = 1;
    run->Finish(result);
    ASSERT_TRUE(Reaches(u"2", TaskState::Stopped));
    m_registry->Shutdown();

    EXPECT_EQ(Transitions(),
              (std::vector<std::pair<int, int>>{{6, 0}, {0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 1}, {1, 6}}));
    const Event event = m_recorder.Of(EventName::TaskStateChanged).front();
    EXPECT_EQ(ValueOf<std::uint64_t>(event, AdditionalName::TaskId), 2u);
    EXPECT_EQ(ValueOf<ulk::types::string16_t>(event, AdditionalName::TaskName), u"Scan_My_Computer");
    EXPECT_EQ(ValueOf<ulk::types::string16_t>(event, AdditionalName::TaskType), u"ODS");
    EXPECT_EQ(ValueOf<std::uint64_t>(event, AdditionalName::RuntimeTaskId), 1u);
    EXPECT_EQ(event.initiator, types::EventInitiator::User);
    EXPECT_EQ(event.initiatorUser->uid, User.uid);
    OxsStatistic statistic;
    ASSERT_EQ(m_registry->GetStatistic(u"Scan_My_Computer", statistic), ulk::sOk);
    EXPECT_EQ(statistic.scan.scannedObjects, 9u);
    EXPECT_EQ(statistic.scan.skippedObjects, 1u);
    EXPECT_EQ(statistic.scannedBytes, 900u);
    EXPECT_EQ(m_registry->LastFullScan(), statistic.finishTime);
}

TEST_F(TaskRegistryTest, StatisticsAndTheLastFullScanOutliveARestart) {
    Make();
    ASSERT_EQ(Do(TaskCommand::Start), ulk::sOk);
    ScriptedRun* run = m_engine.Run(1);
    run->Observer().OnThreat({"/a", "", "Win.Trojan.X", 5, 0});
    run->Finish();
    ASSERT_TRUE(Reaches(u"2", TaskState::Stopped));
    const auto statistics = m_registry->GetStatistics();
    const auto last = m_registry->LastFullScan();
    Make();
    EXPECT_EQ(m_registry->GetStatistics(), statistics);
    EXPECT_EQ(m_registry->LastFullScan(), last);
    EXPECT_EQ(m_registry->GetOdsStatistics().threatsFound, 1u);
    EXPECT_EQ(m_registry->GetTaskList()[0].stopTime, statistics[0].finishTime);
    EXPECT_FALSE(m_recorder.Has(EventName::OnDemandTaskInterrupted));
}

TEST_F(TaskRegistryTest, ARunThatTheServiceDidNotOutliveIsToldAsInterrupted) {
    KeptState state;
    KeptStatistic kept;
    kept.statistic.taskId = 2;
    kept.statistic.taskName = task_name::FullScan;
    kept.statistic.taskType = task_type::ODS;
    kept.statistic.startTime = 1700000000;
    state.statistics.push_back(kept);
    ASSERT_EQ(SaveKeptState(m_folder.File("tasks.json"), state), ulk::sOk);
    Make();
    ASSERT_TRUE(Eventually([&] { return m_recorder.Has(EventName::OnDemandTaskInterrupted); }));
    EXPECT_EQ(State(u"2"), TaskState::Stopped);
    EXPECT_NE(m_registry->GetStatistics()[0].finishTime, 0);
    EXPECT_EQ(m_registry->LastFullScan(), 0);
}

TEST_F(TaskRegistryTest, AThreatIsToldInFullAndCounted) {
    Make();
    ASSERT_EQ(Do(TaskCommand::Start), ulk::sOk);
    ASSERT_TRUE(Reaches(u"2", TaskState::Started));
    ScriptedRun* run = m_engine.Run(1);
    const std::string path = "/tmp/\xff\n.zip";
    run->Observer().OnThreat({path, "inner.exe", "Win.Trojan.Agent-1", 68, 0});
    run->Observer().OnThreat({path, "other.exe", "Win.Trojan.Agent-2", 68, 0});
    run->Observer().OnThreat({"/b", "", "PUA.Tool", 1, 0});
    run->Observer().OnNotProcessed({"/c", scan::NotProcessedReason::Encrypted, ""});
    run->Observer().OnNotProcessed({"/d", scan::NotProcessedReason::ReadError, "Input/output error"});
    OxsStatistic statistic;
    ASSERT_EQ(m_registry->GetStatistic(u"2", statistic), ulk::sOk);
    EXPECT_EQ(statistic.finishTime, 0);
    EXPECT_EQ(statistic.scan.threatsFound, 3u); // while it runs
    run->Finish();
    ASSERT_TRUE(Reaches(u"2", TaskState::Stopped));
    ASSERT_EQ(m_registry->GetStatistic(u"2", statistic), ulk::sOk);
    EXPECT_EQ(statistic.scan.infectedObjects, 2u);
    EXPECT_EQ(statistic.scan.passwordProtectedObjects, 1u);
    EXPECT_EQ(statistic.scan.scanErrors, 1u);

    const auto threats = m_recorder.Of(EventName::ThreatDetected);
    ASSERT_EQ(threats.size(), 3u);
    const Event& threat = threats[0];
    EXPECT_EQ(threat.severity, types::EventSeverity::Critical);
    EXPECT_EQ(threats[2].severity, types::EventSeverity::High);
    EXPECT_EQ(ValueOf<std::string>(threat, AdditionalName::FileName), path);
    EXPECT_EQ(ValueOf<std::uint32_t>(threat, AdditionalName::ObjectName), 0u);
    EXPECT_EQ(ValueOf<ulk::types::string16_t>(threat, AdditionalName::DetectName), u"Win.Trojan.Agent-1");
    EXPECT_EQ(ValueOf<std::uint32_t>(threat, AdditionalName::DetectType), 2u);
    EXPECT_EQ(ValueOf<std::uint32_t>(threat, AdditionalName::DetectCertainty), 1u);
    EXPECT_EQ(ValueOf<std::uint32_t>(threat, AdditionalName::DetectSource), 0u);
    EXPECT_EQ(ValueOf<ulk::types::string16_t>(threat, AdditionalName::FileOwner), u"root");
    EXPECT_EQ(ValueOf<std::uint32_t>(threat, AdditionalName::FileOwnerId), 0u);
    EXPECT_EQ(ValueOf<std::uint64_t>(threat, AdditionalName::TaskId), 2u);
    const auto skipped = m_recorder.Of(EventName::ObjectNotProcessed);
    ASSERT_EQ(skipped.size(), 2u);
    EXPECT_EQ(ValueOf<std::string>(skipped[1], AdditionalName::ObjectProcessError), "Input/output error");
    // Started comes before what was found, and that before Stopped.
    std::vector<EventName::Type> order;
    for (const Event& event : m_recorder.Events())
        order.push_back(event.type);
    const std::vector<EventName::Type> expected{EventName::TaskStateChanged,   EventName::TaskStateChanged,
                                                EventName::ThreatDetected,     EventName::ThreatDetected,
                                                EventName::ThreatDetected,     EventName::ObjectNotProcessed,
                                                EventName::ObjectNotProcessed, EventName::TaskStateChanged};
    EXPECT_TRUE(Eventually([&] { return m_recorder.Events().size() == expected.size(); }));
    EXPECT_TRUE(std::equal(order.begin(), order.end(), expected.begin()));
}

TEST_F(TaskRegistryTest, ProgressIsTransientAndAtMostFourASecond) {
    Make();
    ASSERT_EQ(Do(TaskCommand::Start), ulk::sOk);
    ScriptedRun* run = m_engine.Run(1);
    const auto begin = std::chrono::steady_clock::now();
    scan::ScanProgress told;
    for (told.percent = 0; told.percent <= 100; ++told.percent) {
        told.scannedObjects = told.percent;
        run->Observer().OnProgress(told);
    }
    const auto quarters = (std::chrono::steady_clock::now() - begin) / std::chrono::milliseconds(250);
    EXPECT_LE(m_recorder.Of(EventName::ODSProgressChanged).size(), static_cast<std::size_t>(quarters + 1));
    const Event progress = m_recorder.Of(EventName::ODSProgressChanged).front();
    EXPECT_EQ(ValueOf<std::int32_t>(progress, AdditionalName::ODSProgress), 0);
    EXPECT_EQ(ValueOf<std::uint64_t>(progress, AdditionalName::TaskId), 2u);
    EXPECT_EQ(m_registry->GetOdsStatistics().scannedObjects, 100u); // counters follow all the same
}

TEST_F(TaskRegistryTest, AStopBeforeTheScannerIsReadyEndsTheTask) {
    m_engine.SetReady(false);
    Make();
    ASSERT_EQ(Do(TaskCommand::Start), ulk::sOk);
    EXPECT_EQ(State(u"2"), TaskState::Starting);
    EXPECT_EQ(Do(TaskCommand::Pause), ulk::eInvalidState);
    ASSERT_EQ(Do(TaskCommand::Stop), ulk::sOk);
    EXPECT_EQ(Do(TaskCommand::Stop), ulk::eInvalidState);
    ASSERT_TRUE(Reaches(u"2", TaskState::Stopped));
    EXPECT_EQ(m_engine.Made(), 0);
    m_registry->Shutdown();
    EXPECT_EQ(Transitions(), (std::vector<std::pair<int, int>>{{6, 0}, {0, 5}, {5, 6}}));
    EXPECT_FALSE(m_recorder.Has(EventName::TaskNotStarted));
    EXPECT_EQ(m_registry->LastFullScan(), 0);
}

TEST_F(TaskRegistryTest, AStoppedScanOfTheComputerHasRunAllTheSame) {
    Make();
    ASSERT_EQ(Do(TaskCommand::Start), ulk::sOk);
    ASSERT_TRUE(Reaches(u"2", TaskState::Started));
    ASSERT_EQ(Do(TaskCommand::Stop), ulk::sOk);
    ASSERT_TRUE(Reaches(u"2", TaskState::Stopped));
    EXPECT_NE(m_registry->LastFullScan(), 0);
}

TEST_F(TaskRegistryTest, AScannerThatCanNotBeHadIsToldAndTheTaskCanBeStartedAgain) {
    m_engine.Break("no signatures");
    Make();
    for (int round = 1; round <= 3; ++round) {
        ASSERT_EQ(Do(TaskCommand::Start), ulk::sOk);
        ASSERT_TRUE(Reaches(u"2", TaskState::Stopped));
        ASSERT_TRUE(Eventually(
            [&] { return m_recorder.Of(EventName::TaskNotStarted).size() == static_cast<std::size_t>(round); }));
    }
    const Event event = m_recorder.Of(EventName::TaskNotStarted).front();
    EXPECT_EQ(ValueOf<std::uint32_t>(event, AdditionalName::TaskNotStartedReason), 3u);
    EXPECT_EQ(ValueOf<std::string>(event, AdditionalName::Information), "no signatures");
    EXPECT_EQ(m_registry->LastFullScan(), 0);
}

TEST_F(TaskRegistryTest, AFailedRunIsToldAndDoesNotCountAsAScanOfTheComputer) {
    Make();
    ASSERT_EQ(Do(TaskCommand::Start), ulk::sOk);
    scan::ScanResult result;
    result.end = scan::ScanEnd::Failed;
    result.error = "the scanner is gone";
    m_engine.Run(1)->Finish(result);
    ASSERT_TRUE(Reaches(u"2", TaskState::Stopped));
    ASSERT_TRUE(Eventually([&] { return m_recorder.Has(EventName::OnDemandTaskInterrupted); }));
    EXPECT_EQ(ValueOf<std::string>(m_recorder.Of(EventName::OnDemandTaskInterrupted)[0], AdditionalName::Reason),
              "the scanner is gone");
    EXPECT_EQ(m_registry->LastFullScan(), 0);
}

TEST_F(TaskRegistryTest, ShutdownEndsWhateverStateTasksAreInAndRefusesMore) {
    Make();
    const std::u16string name = Create({::geteuid(), false, 0}, {m_folder.Path()});
    ASSERT_EQ(Do(TaskCommand::Start, name, {::geteuid(), false, 0}), ulk::sOk);
    m_engine.Run(1);
    ASSERT_EQ(Do(TaskCommand::Start), ulk::sOk);
    ASSERT_TRUE(Reaches(u"2", TaskState::Started));
    ASSERT_EQ(Do(TaskCommand::Pause), ulk::sOk);
    m_registry->Shutdown();
    EXPECT_EQ(State(u"2"), TaskState::Suspended) << "pausing is kept, ending is not what was asked for";
    EXPECT_EQ(m_registry->GetTaskList().size(), 1u);
    EXPECT_EQ(Do(TaskCommand::Resume), ulk::eInvalidState);
    m_registry->Shutdown(); // twice does no harm
    EXPECT_EQ(LoadKeptState(m_folder.File("tasks.json")).state.statistics.size(), 2u);
}

TEST_F(TaskRegistryTest, CommandStormsFromManyThreadsKeepTheOrderOfEvents) {
    Make();
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (const TaskCommand command : {TaskCommand::Start, TaskCommand::Stop, TaskCommand::Pause, TaskCommand::Resume})
        threads.emplace_back([&, command] {
            while (!stop)
                Do(command);
        });
    EXPECT_TRUE(Eventually([&] { return m_recorder.Of(EventName::TaskStateChanged).size() > 500; }));
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    m_registry->Shutdown();
    const auto transitions = Transitions();
    int previous = TaskState::Stopped;
    for (const auto& [from, to] : transitions) {
        ASSERT_EQ(from, previous);
        previous = to;
    }
    EXPECT_TRUE(previous == TaskState::Stopped || previous == TaskState::Suspended) << previous;
}

} // namespace
} // namespace tfs::service::tasks
