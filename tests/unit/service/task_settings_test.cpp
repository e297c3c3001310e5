// SPDX-License-Identifier: GPL-2.0-or-later
// Settings of tasks: who changes them, what is refused, what they become of a run.
#include <tests/unit/service/task_registry_fixture.h>

namespace tfs::service::tasks {
namespace {

using Items = std::vector<tfs::settings::ChangeItem>;

class TaskSettingsTest : public TaskRegistryTest {
protected:
    TaskSettingsTest() { Make(); }
    result_t Set(std::u16string_view task, Items items, const rpc::Caller& caller = Administrator,
                 bool toDefault = false) {
        return m_registry->SetSettings(caller, task, {ScanSettings::TypeNumber, std::move(items), false}, toDefault,
                                       m_messages);
    }
    ScanSettings Of(std::u16string_view task) {
        core::TaskInfo info;
        EXPECT_EQ(m_registry->GetTaskInfo(task, info), ulk::sOk);
        const auto* settings = info.settings.Get<ScanSettings>();
        EXPECT_NE(settings, nullptr);
        return settings != nullptr ? *settings : ScanSettings();
    }

    ValidationMessages m_messages;
};

TEST_F(TaskSettingsTest, ChangesReachTheNextRunAndOutliveARestart) {
    ASSERT_EQ(Set(u"2", {{"ScanAreas", ""},
                         {"ScanAreas.item_0000", "/srv"},
                         {"ScanAreas.item_0001", "/bad\xff"},
                         {"ExcludePaths.item_0000", "/srv/spool"},
                         {"ExcludeMasks.item_0000", "*.iso"},
                         {"ExcludeMasks.item_0001", "/srv/*/cache"},
                         {"ScanArchived", "no"},
                         {"SizeLimit", "1048576"},
                         {"TimeLimit", "7"},
                         {"CrossFileSystems", "no"},
                         {"FullSpeed", "yes"}}),
              ulk::sOk);
    ASSERT_TRUE(Eventually([&] { return m_recorder.Has(EventName::TaskSettingsChanged); }));
    const Event event = m_recorder.Of(EventName::TaskSettingsChanged).front();
    EXPECT_EQ(ValueOf<std::uint64_t>(event, AdditionalName::TaskId), 2u);
    EXPECT_EQ(ValueOf<ulk::types::string16_t>(event, AdditionalName::TaskType), u"ODS");
    const auto changed = ulk::text::ToUtf8Lossy(ValueOf<ulk::types::string16_t>(event, AdditionalName::Settings));
    EXPECT_TRUE(changed.starts_with("ScanAreas.item_0000=/srv, ")) << changed;
    EXPECT_EQ(changed.find("FirstAction"), std::string::npos) << "only what has changed";
    const ScanSettings settings = Of(u"2");
    Make();
    EXPECT_EQ(Of(u"2"), settings);
    ASSERT_EQ(Do(TaskCommand::Start), ulk::sOk);
    const scan::ScanOptions options = m_engine.Run(1)->Options();
    EXPECT_EQ(options.areas, (std::vector<std::string>{"/srv", "/bad\xff"}));
    EXPECT_EQ(options.excludedPaths, (std::vector<std::string>{"/private", "/srv/spool"}));
    EXPECT_EQ(options.excludedMasks, (std::vector<std::string>{"*.iso", "/srv/*/cache"}));
    EXPECT_FALSE(options.scanArchives);
    EXPECT_EQ(options.maxFileSize, 1048576u);
    EXPECT_EQ(options.fileTimeLimitMs, 7000u);
    EXPECT_FALSE(options.lowImpact);
    ASSERT_TRUE(Reaches(u"2", TaskState::Started));
    EXPECT_EQ(Set(u"2", {{"ScanArchived", "yes"}}), ulk::eInvalidState) << "not while it runs";
    m_engine.Run(1)->Finish();
    ASSERT_TRUE(Reaches(u"2", TaskState::Stopped));

    m_recorder.Clear();
    EXPECT_EQ(Set(u"2", {{"TimeLimit", "9"}}, Administrator, true), ulk::sOk) << "defaults, and a change of them";
    ScanSettings expected;
    expected.areas = {"/"};
    expected.fileTimeLimitSeconds = 9;
    EXPECT_EQ(Of(u"2"), expected);
    EXPECT_EQ(Set(u"2", {}, Administrator, true), ulk::sOk);
    EXPECT_EQ(Set(u"2", {}, Administrator, true), ulk::sOk);
    m_registry->Shutdown();
    EXPECT_EQ(m_recorder.Of(EventName::TaskSettingsChanged).size(), 2u) << "none where nothing has changed";
}

TEST_F(TaskSettingsTest, ABadListChangesNothingAndSaysWhy) {
    const ScanSettings before = Of(u"2");
    const struct {
        Items items;
        const char* textKey;
    } rows[] = {
        {{}, "CannotParseSettings"},
        {{{"TimeLimit", "5"}, {"Nonsense", "1"}}, "UnsupportedSetting1"},
        {{{"TimeLimit", "many"}}, "SettingValueIsNotValidInteger"},
        {{{"TimeLimit", "86401"}}, "SettingValueIsOutOfRangeInt3"},
        {{{"ScanArchived", "perhaps"}}, "SettingShouldBeValueOrValue3"},
        {{{"ScanAreas", ""}}, "ScanTaskMustContainAtLeastOneActiveScanArea"},
        {{{"ScanAreas.item_0000", "relative"}}, "IncorrectSettingsPathShouldBeAbsolute2"},
        {{{"ScanAreas.item_0000", "/a/../b"}}, "IncorrectSettingsPathShouldBeAbsolute2"},
        {{{"ExcludePaths.item_0000", "relative"}}, "IncorrectSettingsPathShouldBeAbsolute2"},
        {{{"ExcludeMasks.item_0000", "a[b"}}, "InvalidValue1Settings2"},
        {{{"ExcludeMasks.item_0000", "a/b"}}, "InvalidValue1Settings2"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Set(u"2", row.items), sInvalidSettings) << row.textKey;
        ASSERT_FALSE(m_messages.empty()) << row.textKey;
        EXPECT_EQ(m_messages.front().textKey, row.textKey);
        EXPECT_EQ(Of(u"2"), before);
    }
    EXPECT_EQ(m_registry->SetSettings(Administrator, u"2",
                                      {UpdateSettings::TypeNumber, {{"SourceType", "Custom"}}, false}, false,
                                      m_messages),
              ulk::eInvalidType);
    EXPECT_FALSE(m_recorder.Has(EventName::TaskSettingsChanged));
}

TEST_F(TaskSettingsTest, AreAnAdministratorsAndOfATemporaryTaskItsOwners) {
    const std::u16string scan = Create(User, {"/a"});
    EXPECT_EQ(Set(u"2", {{"TimeLimit", "5"}}, User), ulk::eAccessDenied);
    EXPECT_EQ(Set(scan, {{"TimeLimit", "5"}}, OtherUser), ulk::eAccessDenied);
    EXPECT_EQ(Set(scan, {{"TimeLimit", "5"}}, User), ulk::sOk);
    EXPECT_EQ(Of(scan).fileTimeLimitSeconds, 5u);
    EXPECT_EQ(Set(scan, {}, Administrator, true), ulk::sOk);
    EXPECT_EQ(Of(scan).fileTimeLimitSeconds, 0u);
    EXPECT_EQ(Of(scan).areas, std::vector<std::string>{"/a"}) << "its areas are what it was made for";
    EXPECT_EQ(Set(u"nothing", {{"TimeLimit", "5"}}), ulk::eNotFound);
    tfs::settings::SettingsChangeList list;
    ASSERT_EQ(m_registry->GetSettings(u"2", list), ulk::sOk);
    EXPECT_EQ(list.typeNumber, ScanSettings::TypeNumber);
    EXPECT_EQ(m_registry->SetSettings(Administrator, u"2", list, false, m_messages), ulk::sOk)
        << "what is read can be written";
    EXPECT_EQ(m_registry->GetSettings(u"77", list), ulk::eNotFound);
}

/// A task that ends when the test says so.
class PlainRun final : public ITaskRun {
public:
    PlainRun(RunOrder order, IRunHost& host) : m_order(std::move(order)), m_host(host) {}
    void Execute() noexcept override {
        m_host.OnRunBegun(m_order.task);
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_stopped; });
        lock.unlock();
        m_host.OnRunEnded(m_order.task, {true, RunEnd::Stopped, {}, {}});
    }
    void Stop() noexcept override {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
        m_changed.notify_all();
    }
    void Pause() noexcept override {}
    void Resume() noexcept override {}

private:
    const RunOrder m_order;
    IRunHost& m_host;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stopped = false;
};

class PlainFactory final : public IRunFactory {
public:
    std::shared_ptr<ITaskRun> MakeRun(RunOrder order, IRunHost& host) override {
        return std::make_shared<PlainRun>(std::move(order), host);
    }
    bool IsAvailable() const noexcept override { return isAvailable; }
    bool Accepts(const ulk::types::any_struct_t&, std::string& problem) const override {
        problem = "no such source";
        return accepts;
    }
    std::atomic<bool> isAvailable{true};
    std::atomic<bool> accepts{true};
};

class FixedTasksTest : public TaskSettingsTest {
protected:
    FixedTasksTest() {
        m_factories = {{task_type::ODS, &m_scans},
                       {task_type::Update, &m_update},
                       {task_type::Rollback, &m_rollback},
                       {task_type::MemoryScan, &m_memory}};
        Make();
    }
    result_t SetSources(Items items) {
        return m_registry->SetSettings(Administrator, u"Update", {UpdateSettings::TypeNumber, std::move(items), false},
                                       false, m_messages);
    }

    PlainFactory m_update;
    PlainFactory m_rollback;
    PlainFactory m_memory;
};

TEST_F(FixedTasksTest, TasksAreListedWhereTheyCanBeRun) {
    const auto list = m_registry->GetTaskList();
    ASSERT_EQ(list.size(), 4u);
    const std::pair<std::uint64_t, std::u16string_view> expected[] = {
        {2, u"Scan_My_Computer"}, {5, u"Memory_Scan"}, {6, u"Update"}, {7, u"Rollback"}};
    for (std::size_t i = 0; i < list.size(); ++i) {
        EXPECT_EQ(list[i].taskId, expected[i].first);
        EXPECT_EQ(std::u16string_view(list[i].taskName), expected[i].second);
        EXPECT_EQ(list[i].cannotBeDeleted, true);
    }
    EXPECT_EQ(list[2].taskType, u"Update");
    TaskSchedule schedule;
    ASSERT_EQ(m_registry->GetSchedule(u"6", schedule), ulk::sOk);
    EXPECT_EQ(schedule.text, u"Daily, 03:00");
    EXPECT_EQ(schedule.flag, 1);
    tfs::settings::SettingsChangeList settings;
    EXPECT_EQ(m_registry->GetSettings(u"7", settings), ulk::eNotSupported);
    EXPECT_EQ(m_registry->SetSchedule(Administrator, u"7", {ScheduleSettings::TypeNumber, {}, true}, false, m_messages),
              ulk::eNotSupported);
}

TEST_F(FixedTasksTest, MemoryAndBootRecordsAreScannedWithoutAreas) {
    m_factories[task_type::MemoryScan] = &m_scans;
    m_factories[task_type::BootScan] = &m_scans;
    Make();
    const std::pair<const char16_t*, ScanKind> rows[] = {{u"Boot_Scan", ScanKind::BootRecords},
                                                         {u"Memory_Scan", ScanKind::Memory}};
    int run = 0;
    for (const auto& [task, kind] : rows) {
        ASSERT_EQ(Do(TaskCommand::Start, task), ulk::sOk);
        ASSERT_TRUE(Reaches(task, TaskState::Started));
        ScriptedRun* scan = m_engine.Run(++run);
        EXPECT_EQ(m_engine.LastKind(), kind);
        EXPECT_TRUE(scan->Options().areas.empty());
        scan->Observer().OnThreat({"/dev/sda", "", "Eicar", 512, 0});
        scan->Finish();
        ASSERT_TRUE(Reaches(task, TaskState::Stopped));
    }
    m_registry->Shutdown();
    const auto threats = m_recorder.Of(EventName::ThreatDetected);
    ASSERT_EQ(threats.size(), 2u);
    EXPECT_EQ(ValueOf<std::uint32_t>(threats[0], AdditionalName::ObjectName), types::ObjectName::PhysicalDisk);
    EXPECT_EQ(ValueOf<std::uint32_t>(threats[1], AdditionalName::ObjectName), types::ObjectName::MemoryModule);
    EXPECT_EQ(m_registry->LastFullScan(), 0);
}

TEST_F(FixedTasksTest, ARollbackWaitsForSomethingToRollBackToAndForTheUpdate) {
    bool allowed = true;
    m_rollback.isAvailable = false;
    EXPECT_EQ(m_registry->MayCommand(Administrator, u"Rollback", TaskCommand::Start, allowed), ulk::sOk);
    EXPECT_FALSE(allowed);
    EXPECT_EQ(Do(TaskCommand::Start, u"Rollback"), ulk::eInvalidState);
    m_rollback.isAvailable = true;
    EXPECT_EQ(m_registry->MayCommand(User, u"Rollback", TaskCommand::Start, allowed), ulk::sOk);
    EXPECT_TRUE(allowed);
    ASSERT_EQ(Do(TaskCommand::Start, u"Update"), ulk::sOk);
    ASSERT_TRUE(Reaches(u"6", TaskState::Started));
    EXPECT_EQ(Do(TaskCommand::Start, u"Rollback"), ulk::eInvalidState) << "both work on the signatures";
    EXPECT_EQ(Do(TaskCommand::Pause, u"Update"), ulk::eNotSupported);
    EXPECT_EQ(Do(TaskCommand::Start), ulk::sOk) << "a scan goes on beside them";
    ASSERT_EQ(Do(TaskCommand::Stop, u"Update"), ulk::sOk);
    ASSERT_TRUE(Reaches(u"6", TaskState::Stopped));
    EXPECT_EQ(Do(TaskCommand::Start, u"Rollback"), ulk::sOk);
    m_registry->Shutdown();
    EXPECT_EQ(State(u"7"), TaskState::Stopped);
}

TEST_F(FixedTasksTest, SourcesOfAnUpdateAreTestedByItsOwnArea) {
    EXPECT_EQ(SetSources({{"SourceType", "Custom"}}), sInvalidSettings);
    EXPECT_EQ(m_messages.front().textKey, "CustomSourcesMustContainAtLeastOneEnabledEntry");
    m_update.accepts = false;
    EXPECT_EQ(SetSources({{"SourceType", "Custom"}, {"CustomSources.item_0000", "gopher://x"}}), sInvalidSettings);
    EXPECT_EQ(m_messages.front().textKey, "SettingsError1");
    m_update.accepts = true;
    EXPECT_EQ(SetSources({{"SourceType", "Custom"}, {"CustomSources.item_0000", "/mnt/bases"}}), ulk::sOk);

    m_factories.erase(task_type::Update); // as where the updater isn't installed
    Make();
    core::TaskInfo info;
    EXPECT_EQ(m_registry->GetTaskInfo(u"Update", info), ulk::eNotFound);
    m_factories[task_type::Update] = &m_update;
    Make();
    ASSERT_EQ(m_registry->GetTaskInfo(u"Update", info), ulk::sOk);
    EXPECT_EQ(info.settings.Get<UpdateSettings>()->customSources, std::vector<std::string>{"/mnt/bases"})
        << "settings wait for the task";
}

} // namespace
} // namespace tfs::service::tasks
