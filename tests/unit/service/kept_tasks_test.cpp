// SPDX-License-Identifier: GPL-2.0-or-later
// Tasks over a restart of the service.
#include <tests/unit/service/task_registry_fixture.h>

namespace tfs::service::tasks {
namespace {

class KeptTasksTest : public TaskRegistryTest {
protected:
    KeptTasksTest() {
        m_options.checkpointInterval = std::chrono::milliseconds(0);
        Make(m_options);
    }
    /// What another process would find if this one were gone now.
    void CutShort() {
        Flush();
        const std::string state = tests::Content(m_folder.File("tasks.json"));
        m_registry.reset();
        m_folder.Write("tasks.json", state);
        m_recorder.Clear();
        Make(m_options);
    }
    /// Waits until what was changed is written.
    void Flush() {
        ValidationMessages messages;
        EXPECT_EQ(
            m_registry->SetSchedule(Administrator, u"2", {ScheduleSettings::TypeNumber, {}, true}, false, messages),
            ulk::sOk);
    }
    ScriptedRun* StartFullScan(int run) {
        EXPECT_EQ(Do(TaskCommand::Start), ulk::sOk);
        EXPECT_TRUE(Reaches(u"2", TaskState::Started));
        return m_engine.Run(run);
    }
    void Scan(ScriptedRun& run, std::uint64_t objects, const std::string& upTo) {
        scan::ScanProgress progress;
        progress.scannedObjects = objects;
        progress.scannedBytes = objects * 10;
        progress.percent = 40;
        progress.secondsLeft = 12;
        run.SetResult({scan::ScanEnd::Completed, progress, {}});
        scan::ScanProgress ahead = progress;
        ahead.scannedObjects += 3;
        run.Observer().OnProgress(ahead); // these come again
        run.Observer().OnCheckpoint(upTo, progress);
    }
    ScanStatistic CountersOf(std::u16string_view task) {
        OxsStatistic statistic;
        EXPECT_EQ(m_registry->GetStatistic(task, statistic), ulk::sOk);
        return statistic.scan;
    }

    TaskRegistry::Options m_options;
};

TEST_F(KeptTasksTest, ASuspendedScanGoesOnInTheNextServiceWithItsCounters) {
    ScriptedRun* run = StartFullScan(1);
    run->Observer().OnThreat({"/a/virus", "", "Eicar", 1, 0});
    Scan(*run, 70, "/home/\xff\n");
    ASSERT_EQ(Do(TaskCommand::Pause), ulk::sOk);
    ASSERT_TRUE(Reaches(u"2", TaskState::Suspended));
    TaskProgress progress;
    ASSERT_EQ(m_registry->GetProgress(u"2", progress), ulk::sOk);
    EXPECT_EQ(progress, (TaskProgress{40, std::nullopt})) << "no time passes while it is suspended";

    m_registry->Shutdown(); // the ordinary end of a service
    m_recorder.Clear();
    Make(m_options);
    EXPECT_EQ(State(u"2"), TaskState::Suspended);
    EXPECT_FALSE(m_recorder.Has(EventName::OnDemandTaskInterrupted));
    EXPECT_TRUE(m_recorder.Of(EventName::TaskStateChanged).empty());
    EXPECT_EQ(CountersOf(u"2").scannedObjects, 70u);
    ASSERT_EQ(m_registry->GetProgress(u"2", progress), ulk::sOk);
    EXPECT_EQ(progress.percent, 40u);
    EXPECT_EQ(Do(TaskCommand::Start), ulk::eInvalidState);

    ASSERT_EQ(Do(TaskCommand::Resume), ulk::sOk);
    ASSERT_TRUE(Reaches(u"2", TaskState::Started));
    run = m_engine.Run(2);
    EXPECT_EQ(run->Options().goOnBehind, "/home/\xff\n");
    scan::ScanResult result;
    result.counters.scannedObjects = 30; // of what was left
    result.counters.scannedBytes = 300;
    run->Finish(result);
    ASSERT_TRUE(Reaches(u"2", TaskState::Stopped));
    OxsStatistic statistic;
    ASSERT_EQ(m_registry->GetStatistic(u"2", statistic), ulk::sOk);
    EXPECT_EQ(statistic.scan.scannedObjects, 100u);
    EXPECT_EQ(statistic.scan.threatsFound, 1u);
    EXPECT_EQ(statistic.scannedBytes, 1000u);
    EXPECT_EQ(m_registry->LastFullScan(), statistic.finishTime);
    m_registry->Shutdown();
    EXPECT_EQ(Transitions(), (std::vector<std::pair<int, int>>{{3, 4}, {4, 1}, {1, 6}}));
    for (const Event& event : m_recorder.Of(EventName::TaskStateChanged))
        EXPECT_EQ(ValueOf<std::uint64_t>(event, AdditionalName::RuntimeTaskId), 1u) << "it is the same run";
}

TEST_F(KeptTasksTest, AScanThatRanWhenTheServiceDiedIsToldAndGoesOnWhereItHasACheckpoint) {
    ScriptedRun* run = StartFullScan(1);
    Scan(*run, 5, "/etc/fstab");
    CutShort();
    EXPECT_TRUE(Eventually([&] { return m_recorder.Has(EventName::OnDemandTaskInterrupted); }));
    EXPECT_EQ(State(u"2"), TaskState::Suspended);
    ASSERT_EQ(Do(TaskCommand::Resume), ulk::sOk);
    EXPECT_EQ(m_engine.Run(2)->Options().goOnBehind, "/etc/fstab");
    m_engine.Run(2)->Finish();
    ASSERT_TRUE(Reaches(u"2", TaskState::Stopped));

    StartFullScan(3); // dies before its first checkpoint
    CutShort();
    EXPECT_TRUE(Eventually([&] { return m_recorder.Has(EventName::OnDemandTaskInterrupted); }));
    EXPECT_EQ(State(u"2"), TaskState::Stopped);
    EXPECT_EQ(Do(TaskCommand::Resume), ulk::eInvalidState);
    OxsStatistic statistic;
    ASSERT_EQ(m_registry->GetStatistic(u"2", statistic), ulk::sOk);
    EXPECT_NE(statistic.finishTime, 0);
}

TEST_F(KeptTasksTest, AScanThatTheServiceEndsItselfIsNotLostEither) {
    Scan(*StartFullScan(1), 5, "/etc/fstab");
    m_registry->Shutdown();
    EXPECT_EQ(Transitions(), (std::vector<std::pair<int, int>>{{6, 0}, {0, 1}, {1, 5}, {5, 3}}));
    Make(m_options);
    EXPECT_EQ(State(u"2"), TaskState::Suspended);
    EXPECT_TRUE(Eventually([&] { return m_recorder.Has(EventName::OnDemandTaskInterrupted); }));
    ASSERT_EQ(Do(TaskCommand::Stop), ulk::sOk) << "what is suspended without a run can be stopped";
    EXPECT_EQ(State(u"2"), TaskState::Stopped);
    Make(m_options);
    EXPECT_EQ(State(u"2"), TaskState::Stopped) << "what a user has stopped stays so";
    EXPECT_EQ(StartFullScan(2)->Options().goOnBehind, "");
    ASSERT_EQ(Do(TaskCommand::Stop), ulk::sOk);
    ASSERT_TRUE(Reaches(u"2", TaskState::Stopped));
}

TEST_F(KeptTasksTest, ARunThatCanNotGoOnKeepsItsPlace) {
    Scan(*StartFullScan(1), 5, "/etc/fstab");
    Make(m_options);
    m_engine.Break("no signatures");
    m_recorder.Clear();
    ASSERT_EQ(Do(TaskCommand::Resume), ulk::sOk);
    ASSERT_TRUE(Reaches(u"2", TaskState::Suspended));
    ASSERT_TRUE(Eventually([&] { return m_recorder.Has(EventName::TaskNotStarted); }));
    m_engine.Break("");
    ASSERT_EQ(Do(TaskCommand::Resume), ulk::sOk);
    EXPECT_EQ(m_engine.Run(2)->Options().goOnBehind, "/etc/fstab");
}

TEST_F(KeptTasksTest, ASuspendedCustomScanKeepsItsOwnerAndItsSettings) {
    const std::string area = m_folder.Write("file", "x");
    const rpc::Caller owner{::geteuid(), false, 0};
    ScanSettings settings;
    settings.areas = {area, "/bad\xff\xfe\n"};
    settings.excludeMasks = {"*.iso"};
    settings.scanArchives = false;
    core::TaskInfo info;
    ASSERT_EQ(m_registry->CreateScanTask(owner, settings, info), ulk::sOk);
    const std::u16string name{std::u16string_view(info.taskName)};
    ASSERT_EQ(Do(TaskCommand::Start, name, owner), ulk::sOk);
    ASSERT_TRUE(Reaches(name, TaskState::Started));
    Scan(*m_engine.Run(1), 1, area);
    ASSERT_EQ(Do(TaskCommand::Pause, name, owner), ulk::sOk);
    ASSERT_TRUE(Reaches(name, TaskState::Suspended));
    CutShort();
    ASSERT_EQ(m_registry->GetTaskInfo(name, info), ulk::sOk);
    EXPECT_EQ(info.state, TaskState::Suspended);
    EXPECT_TRUE(info.isTemporary);
    ASSERT_TRUE(info.owner);
    EXPECT_EQ(info.owner->uid, owner.uid);
    ASSERT_NE(info.settings.Get<ScanSettings>(), nullptr);
    EXPECT_EQ(*info.settings.Get<ScanSettings>(), settings);
    EXPECT_EQ(Do(TaskCommand::Resume, name, {owner.uid + 1, false, 0}), ulk::eAccessDenied);
    ASSERT_EQ(Do(TaskCommand::Resume, name, owner), ulk::sOk);
    ScriptedRun* run = m_engine.Run(2);
    EXPECT_EQ(run->Options().rightsOf, owner.uid);
    EXPECT_EQ(run->Options().excludedMasks, settings.excludeMasks);
    EXPECT_FALSE(run->Options().scanArchives);
    run->Finish();
    EXPECT_TRUE(Eventually([&] { return m_registry->GetTaskInfo(name, info) == ulk::eNotFound; }));
    OxsStatistic statistic;
    EXPECT_EQ(m_registry->GetStatistic(name, statistic), ulk::sOk);
    EXPECT_NE(statistic.finishTime, 0);
}

TEST_F(KeptTasksTest, ProgressNeverFallsAndEndsAtAHundred) {
    ScriptedRun* run = StartFullScan(1);
    TaskProgress progress;
    Scan(*run, 5, "/a");
    ASSERT_EQ(m_registry->GetProgress(u"Scan_My_Computer", progress), ulk::sOk);
    EXPECT_EQ(progress, (TaskProgress{40, 12}));
    run->Observer().OnProgress({});
    ASSERT_EQ(m_registry->GetProgress(u"2", progress), ulk::sOk);
    EXPECT_EQ(progress.percent, 40u);
    run->Finish();
    ASSERT_TRUE(Reaches(u"2", TaskState::Stopped));
    ASSERT_EQ(m_registry->GetProgress(u"2", progress), ulk::sOk);
    EXPECT_EQ(progress, (TaskProgress{100, std::nullopt}));
    EXPECT_EQ(m_registry->GetProgress(u"Update", progress), ulk::eNotFound);
    StartFullScan(2);
    ASSERT_EQ(m_registry->GetProgress(u"2", progress), ulk::sOk);
    EXPECT_EQ(progress.percent, 0u);
}

TEST(KeptTask, FilesFromBeforeTasksWereKeptStillLoad) {
    const TempFolder folder;
    KeptState state;
    state.nextTaskId = 107;
    KeptTask task;
    task.taskId = 2;
    task.taskName = task_name::FullScan;
    task.taskType = task_type::ODS;
    task.owner = KeptOwner{1000, true};
    task.settings = {{"ScanAreas.item_0000", "/\xc3\xff\x01\n\""}};
    task.schedule = TaskSchedule{types::ScheduleMode::Weekly, {}, 86399, 6, 1};
    task.scheduleServed = -5;
    task.run = KeptRun{true, "/\xff\xfe", {1, 2, 3}, 9, 57};
    state.tasks = {task, KeptTask()};
    const std::string path = folder.File("tasks.json");
    ASSERT_EQ(SaveKeptState(path, state), ulk::sOk);
    EXPECT_EQ(LoadKeptState(path).state, state);

    std::string text = tests::Content(path);
    const std::size_t begin = text.find(",\n \"tasks\"");
    const std::size_t end = text.find("\n ]", begin) + 3;
    ASSERT_NE(begin, std::string::npos);
    folder.Write("old.json", text.erase(begin, end - begin));
    const LoadedState old = LoadKeptState(folder.File("old.json"));
    EXPECT_TRUE(old.problem.empty()) << text;
    EXPECT_EQ(old.state.nextTaskId, 107u);
    EXPECT_TRUE(old.state.tasks.empty());
}

} // namespace
} // namespace tfs::service::tasks
