// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/task_registry.h>
#include <tests/unit/service/temp_folder.h>
#include <tests/unit/service/waiting.h>

#include <algorithm>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <unistd.h>

namespace tfs::service::tasks {
namespace {

using tests::Eventually;
using tests::TempFolder;
using types::AdditionalName;
using types::EventName;

/// A scan that does what the test says, so that faults can be made.
class ScriptedRun final : public scan::IScanRun {
public:
    ScriptedRun(scan::ScanOptions options, scan::IScanObserver& observer)
        : m_options(std::move(options)), m_observer(observer) {}

    scan::ScanResult Run() override {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return (m_finish || m_stopped) && (!m_paused || m_stopped); });
        scan::ScanResult result = m_result;
        if (m_stopped)
            result.end = scan::ScanEnd::Stopped;
        return result;
    }
    void Stop() noexcept override { Set(m_stopped, true); }
    void Pause() noexcept override { Set(m_paused, true); }
    void Resume() noexcept override { Set(m_paused, false); }

    void Finish(scan::ScanResult result = {}) {
        const std::lock_guard lock(m_mutex);
        m_result = std::move(result);
        m_finish = true;
        m_changed.notify_all(); // under the lock: the run is gone as soon as it has seen it
    }
    scan::IScanObserver& Observer() { return m_observer; }
    const scan::ScanOptions& Options() const { return m_options; }
    bool IsPaused() {
        const std::lock_guard lock(m_mutex);
        return m_paused;
    }

private:
    void Set(bool& flag, bool value) {
        const std::lock_guard lock(m_mutex);
        flag = value;
        m_changed.notify_all();
    }

    const scan::ScanOptions m_options;
    scan::IScanObserver& m_observer;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    scan::ScanResult m_result;
    bool m_finish = false;
    bool m_stopped = false;
    bool m_paused = false;
};

class ScriptedEngine final : public IScanEngine {
public:
    result_t WaitUntilReady(const std::function<bool()>& cancelled, std::string& why) override {
        for (;;) {
            if (cancelled())
                return ulk::eCancelled;
            std::unique_lock lock(m_mutex);
            if (!m_broken.empty()) {
                why = m_broken;
                return ulk::eNotReady;
            }
            if (m_ready)
                return ulk::sOk;
            m_changed.wait_for(lock, std::chrono::milliseconds(5));
        }
    }
    std::unique_ptr<scan::IScanRun> MakeRun(scan::ScanOptions options, scan::IScanObserver& observer) override {
        auto run = std::make_unique<ScriptedRun>(std::move(options), observer);
        const std::lock_guard lock(m_mutex);
        m_last = run.get();
        ++m_made;
        return run;
    }
    void SetReady(bool ready) {
        const std::lock_guard lock(m_mutex);
        m_ready = ready;
    }
    void Break(std::string why) {
        const std::lock_guard lock(m_mutex);
        m_broken = std::move(why);
    }
    /// The run made last; waits until there is the n-th.
    ScriptedRun* Run(int number) {
        EXPECT_TRUE(Eventually([&] {
            const std::lock_guard lock(m_mutex);
            return m_made >= number;
        }));
        const std::lock_guard lock(m_mutex);
        return m_last;
    }
    int Made() {
        const std::lock_guard lock(m_mutex);
        return m_made;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_ready = true;
    std::string m_broken;
    ScriptedRun* m_last = nullptr;
    int m_made = 0;
};

class Recorder final : public store::IEventPublisher {
public:
    void Publish(Event event) noexcept override { Add(std::move(event)); }
    void PublishTransient(Event event) noexcept override { Add(std::move(event)); }
    std::vector<Event> Events() const {
        const std::lock_guard lock(m_mutex);
        return m_events;
    }
    std::vector<Event> Of(EventName::Type type) const {
        std::vector<Event> events = Events();
        std::erase_if(events, [&](const Event& event) { return event.type != type; });
        return events;
    }
    bool Has(EventName::Type type) const { return !Of(type).empty(); }

private:
    void Add(Event event) {
        const std::lock_guard lock(m_mutex);
        m_events.push_back(std::move(event));
    }
    mutable std::mutex m_mutex;
    std::vector<Event> m_events;
};

template <class T>
T ValueOf(const Event& event, AdditionalName::Type name) {
    ulk::types::variant_t value;
    EXPECT_EQ(event.GetAdditionalData(name, value), ulk::sOk) << name;
    const T* typed = value.As<T>();
    EXPECT_NE(typed, nullptr) << "another tag for " << name;
    return typed != nullptr ? *typed : T();
}

constexpr rpc::Caller User{1000, false, 0};
constexpr rpc::Caller OtherUser{1001, false, 0};
constexpr rpc::Caller Administrator{0, true, 0};

class TaskRegistryTest : public testing::Test {
protected:
    void Make(TaskRegistry::Options options = {}) {
        m_registry.reset();
        options.stateFile = m_folder.File("tasks.json");
        m_registry = std::make_unique<TaskRegistry>(options, m_engine, m_recorder, ulk::Ptr<ulk::ITracer>());
        m_registry->Load();
    }
    TaskState::Type State(std::u16string_view task) {
        core::TaskInfo info;
        return ULK_SUCCEEDED(m_registry->GetTaskInfo(task, info)) ? info.state : TaskState::Unknown;
    }
    bool Reaches(std::u16string_view task, TaskState::Type state) {
        return Eventually([&] { return State(task) == state; });
    }
    result_t Do(TaskCommand command, std::u16string_view task = u"2", const rpc::Caller& caller = User) {
        return m_registry->Command(caller, task, command);
    }
    std::u16string Create(const rpc::Caller& caller, std::vector<std::string> areas) {
        core::TaskInfo info;
        EXPECT_EQ(m_registry->CreateScanTask(caller, ScanSettings{std::move(areas)}, info), ulk::sOk);
        return std::u16string(std::u16string_view(info.taskName));
    }
    std::vector<std::pair<int, int>> Transitions() {
        std::vector<std::pair<int, int>> list;
        for (const Event& event : m_recorder.Of(EventName::TaskStateChanged))
            list.emplace_back(ValueOf<std::int32_t>(event, AdditionalName::PrevTaskState),
                              ValueOf<std::int32_t>(event, AdditionalName::TaskState));
        return list;
    }

    TempFolder m_folder;
    ScriptedEngine m_engine;
    Recorder m_recorder;
    std::unique_ptr<TaskRegistry> m_registry;
};

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
    TaskRegistry::Options options;
    options.exclusions = {"/private"};
    Make(options);
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
    for (std::uint32_t percent = 0; percent <= 100; ++percent)
        run->Observer().OnProgress({percent, percent, 0, 0, 0, 0, 0});
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

TEST_F(TaskRegistryTest, ACustomScanIsItsOwnersAndGoesWhenItHasRun) {
    const std::string area = m_folder.Write("file", "x");
    const rpc::Caller owner{::geteuid(), false, 0};
    const rpc::Caller stranger{::geteuid() + 1, false, 0};
    Make();
    const std::u16string name = Create(owner, {area});
    EXPECT_EQ(name, u"Scan_File_100");
    core::TaskInfo info;
    ASSERT_EQ(m_registry->GetTaskInfo(name, info), ulk::sOk);
    EXPECT_TRUE(info.isTemporary);
    EXPECT_EQ(info.owner->uid, owner.uid);
    ASSERT_NE(info.settings.Get<ScanSettings>(), nullptr);
    EXPECT_EQ(info.settings.Get<ScanSettings>()->areas, std::vector<std::string>{area});
    for (const TaskCommand command : {TaskCommand::Start, TaskCommand::Stop, TaskCommand::Pause, TaskCommand::Resume})
        EXPECT_EQ(Do(command, name, stranger), ulk::eAccessDenied);
    EXPECT_EQ(m_registry->DeleteTask(stranger, name), ulk::eAccessDenied);
    bool allowed = true;
    EXPECT_EQ(m_registry->MayCommand(stranger, name, allowed), ulk::sOk);
    EXPECT_FALSE(allowed);

    ASSERT_EQ(Do(TaskCommand::Start, name, owner), ulk::sOk);
    ASSERT_TRUE(Reaches(name, TaskState::Started));
    EXPECT_EQ(m_registry->DeleteTask(owner, name), ulk::eInvalidState);
    EXPECT_EQ(Do(TaskCommand::Stop, name, stranger), ulk::eAccessDenied);
    m_engine.Run(1)->Observer().OnThreat({area, "", "Eicar", 1, 0});
    m_engine.Run(1)->Finish();
    ASSERT_TRUE(Eventually([&] { return m_registry->GetTaskInfo(name, info) == ulk::eNotFound; }));
    OxsStatistic statistic;
    ASSERT_EQ(m_registry->GetStatistic(name, statistic), ulk::sOk);
    EXPECT_NE(statistic.finishTime, 0);
    EXPECT_EQ(statistic.scan.threatsFound, 1u);
    EXPECT_TRUE(Eventually([&] { return m_recorder.Has(EventName::TaskDeleted); }));
    EXPECT_EQ(m_recorder.Events().back().type, EventName::TaskDeleted);
    EXPECT_EQ(m_recorder.Events().front().type, EventName::TaskCreated);
    EXPECT_EQ(m_registry->LastFullScan(), 0);

    EXPECT_EQ(m_registry->DeleteStatistic(stranger, statistic), ulk::eAccessDenied);
    EXPECT_EQ(m_registry->DeleteStatistic(owner, statistic), ulk::sOk);
    EXPECT_EQ(m_registry->DeleteStatistic(owner, statistic), ulk::eNotFound);
    EXPECT_NE(Create(owner, {area}), name); // ids aren't used again
}

TEST_F(TaskRegistryTest, AreasThatCanNotBeOpenedAreToldAsNotProcessed) {
    const std::string area = m_folder.Write("file", "x");
    const rpc::Caller owner{::geteuid(), false, 0};
    Make();
    const std::u16string mixed = Create(owner, {m_folder.File("missing"), area});
    ASSERT_EQ(Do(TaskCommand::Start, mixed, owner), ulk::sOk);
    ScriptedRun* run = m_engine.Run(1);
    EXPECT_EQ(run->Options().areas.size(), 1u);
    run->Finish();
    const std::u16string hopeless = Create(owner, {m_folder.File("missing")});
    ASSERT_EQ(Do(TaskCommand::Start, hopeless, owner), ulk::sOk);
    core::TaskInfo info;
    ASSERT_TRUE(Eventually([&] { return m_registry->GetTaskList().size() == 1; }));
    EXPECT_EQ(m_engine.Made(), 1);
    OxsStatistic statistic;
    for (const std::u16string& name : {mixed, hopeless}) {
        ASSERT_EQ(m_registry->GetStatistic(name, statistic), ulk::sOk);
        EXPECT_EQ(statistic.scan.scanErrors, 1u);
    }
    const Event event = m_recorder.Of(EventName::ObjectNotProcessed).front();
    EXPECT_EQ(ValueOf<std::string>(event, AdditionalName::FileName), m_folder.File("missing"));
    EXPECT_EQ(ValueOf<std::string>(event, AdditionalName::ObjectProcessError), "No such file or directory");
}

TEST_F(TaskRegistryTest, AUsersFilesAreNotScannedForAnotherUser) {
    const rpc::Caller stranger{::geteuid() + 1, false, 0};
    const std::string area = m_folder.Write("secret", "x"); // in a folder of mode 0700
    Make();
    const std::u16string name = Create(stranger, {area});
    ASSERT_EQ(Do(TaskCommand::Start, name, stranger), ulk::sOk);
    ASSERT_TRUE(Eventually([&] { return m_registry->GetTaskList().size() == 1; }));
    EXPECT_EQ(m_engine.Made(), 0);
    const std::u16string byAdministrator = Create({stranger.uid, true, 0}, {area});
    ASSERT_EQ(Do(TaskCommand::Start, byAdministrator, stranger), ulk::sOk);
    m_engine.Run(1)->Finish();
}

TEST_F(TaskRegistryTest, BadAreasAreRefused) {
    Make();
    const std::vector<std::vector<std::string>> lists{
        {},
        {""},
        {"relative/path"},
        {"/good", "bad"},
        {std::string("/a\0b", 4)},
        {"/" + std::string(4095, 'a')},
        std::vector<std::string>(1025, "/a"),
        std::vector<std::string>(70, "/" + std::string(4000, 'a')),
    };
    core::TaskInfo info;
    for (const auto& areas : lists)
        EXPECT_EQ(m_registry->CreateScanTask(User, ScanSettings{areas}, info), ulk::eInvalidArgument);
    EXPECT_EQ(m_registry->GetTaskList().size(), 1u);
}

TEST_F(TaskRegistryTest, TheNumberOfCustomScansIsBounded) {
    TaskRegistry::Options options;
    options.maxTemporaryOfUser = 3;
    options.maxTemporary = 5;
    Make(options);
    core::TaskInfo info;
    for (int i = 0; i < 3; ++i)
        Create(User, {"/"});
    EXPECT_EQ(m_registry->CreateScanTask(User, ScanSettings{{"/"}}, info), ulk::eInsufficientResources);
    Create(OtherUser, {"/"});
    const std::u16string fifth = Create(OtherUser, {"/"});
    EXPECT_EQ(m_registry->CreateScanTask(Administrator, ScanSettings{{"/"}}, info), ulk::eInsufficientResources);
    EXPECT_EQ(m_registry->DeleteTask(Administrator, fifth), ulk::sOk);
    Create(Administrator, {"/"});

    options.unusedLifetime = std::chrono::seconds(0); // tasks of a client that died give way
    Make(options);
    for (int i = 0; i < 10; ++i)
        Create(User, {"/"});
    EXPECT_EQ(m_registry->GetTaskList().size(), 4u);
}

TEST_F(TaskRegistryTest, UsersWhoMayNotManageTasksMayOnlyLook) {
    TaskRegistry::Options options;
    options.allowUserManageLocalTasks = false;
    Make(options);
    core::TaskInfo info;
    EXPECT_EQ(m_registry->CreateScanTask(User, ScanSettings{{"/"}}, info), ulk::eAccessDenied);
    EXPECT_EQ(Do(TaskCommand::Start), ulk::eAccessDenied);
    bool allowed = true;
    EXPECT_EQ(m_registry->MayCommand(User, u"Scan_My_Computer", allowed), ulk::sOk);
    EXPECT_FALSE(allowed);
    EXPECT_EQ(m_registry->MayCommand(Administrator, u"Scan_My_Computer", allowed), ulk::sOk);
    EXPECT_TRUE(allowed);
    EXPECT_EQ(m_registry->MayCommand(User, u"Update", allowed), ulk::eNotFound);
    EXPECT_EQ(Do(TaskCommand::Start, u"2", Administrator), ulk::sOk);
    EXPECT_EQ(m_registry->DeleteTask(Administrator, u"2"), ulk::eNotSupported);
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
    EXPECT_EQ(State(u"2"), TaskState::Stopped);
    EXPECT_EQ(m_registry->GetTaskList().size(), 1u);
    EXPECT_EQ(Do(TaskCommand::Start), ulk::eInvalidState);
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
    EXPECT_EQ(previous, TaskState::Stopped);
}

} // namespace
} // namespace tfs::service::tasks
