// SPDX-License-Identifier: GPL-2.0-or-later
// Tasks that start by themselves, under a clock that the test sets.
#include <service/tasks/scheduler.h>
#include <tests/unit/service/task_registry_fixture.h>
#include <tests/unit/service/test_clock.h>

#include <ctime>

namespace tfs::service::tasks {
namespace {

using tests::Monday;
using tests::TestClock;

constexpr std::int64_t Hour = 3600;
constexpr std::int64_t Day = 24 * Hour;

class SchedulerTest : public TaskRegistryTest {
protected:
    SchedulerTest() {
        ::setenv("TZ", "UTC0", 1);
        ::tzset();
        m_options.now = [this] { return m_clock.Now(); };
        Make(m_options);
    }
    ~SchedulerTest() override {
        m_scheduler.reset();
        ::unsetenv("TZ");
        ::tzset();
    }
    void Start() {
        m_scheduler = std::make_unique<Scheduler>(m_clock, *m_registry);
        m_registry->SetScheduleChanged([this] { m_scheduler->Wake(); });
        m_scheduler->Start();
    }
    /// The service ends and is started again at another time.
    void RestartAt(std::int64_t now) {
        m_scheduler.reset();
        m_registry.reset();
        m_clock.Set(now);
        m_recorder.Clear();
        Make(m_options);
        Start();
    }
    result_t Set(std::vector<tfs::settings::ChangeItem> items) {
        ValidationMessages messages;
        return m_registry->SetSchedule(Administrator, u"Scan_My_Computer",
                                       {ScheduleSettings::TypeNumber, std::move(items), false}, false, messages);
    }
    bool HasStarted(int run) {
        const bool started = Eventually([&] { return m_engine.Made() == run; });
        if (started) {
            EXPECT_TRUE(Reaches(u"2", TaskState::Started));
            m_engine.Run(run)->Finish();
            EXPECT_TRUE(Reaches(u"2", TaskState::Stopped));
        }
        return started;
    }

    TestClock m_clock;
    TaskRegistry::Options m_options;
    std::unique_ptr<Scheduler> m_scheduler;
};

TEST_F(SchedulerTest, AScanStartsAtItsTimeInTheNameOfTheScheduler) {
    Start();
    EXPECT_EQ(m_clock.NextWait(), std::nullopt) << "nothing is scheduled";
    ASSERT_EQ(Set({{"RuleType", "Daily"}, {"StartTime", "03:00"}}), ulk::sOk);
    EXPECT_EQ(m_clock.NextWait(), Monday + 3 * Hour);
    m_clock.Set(Monday + 3 * Hour - 1);
    EXPECT_EQ(m_clock.NextWait(), Monday + 3 * Hour);
    EXPECT_EQ(m_engine.Made(), 0);
    m_clock.Set(Monday + 3 * Hour);
    EXPECT_EQ(m_clock.NextWait(), Monday + Day + 3 * Hour);
    ASSERT_TRUE(HasStarted(1));
    for (const Event& event : m_recorder.Of(EventName::TaskStateChanged)) {
        EXPECT_EQ(event.initiator, types::EventInitiator::Scheduler);
        EXPECT_FALSE(event.initiatorUser);
    }
    m_clock.Set(Monday + 2 * Hour); // put back: what was done isn't done again
    EXPECT_EQ(m_clock.NextWait(), Monday + Day + 3 * Hour);
    m_clock.Set(Monday + 2 * Day); // a day is jumped over, and missed starts aren't asked for
    EXPECT_EQ(m_clock.NextWait(), Monday + 2 * Day + 3 * Hour);
    EXPECT_EQ(m_engine.Made(), 1);
}

TEST_F(SchedulerTest, AMissedStartIsMadeUpOnceAfterARestart) {
    Start();
    ASSERT_EQ(Set({{"RuleType", "Weekly"}, {"DayOfWeek", "Tuesday"}, {"StartTime", "12:00"}, {"RunMissed", "yes"}}),
              ulk::sOk);
    RestartAt(Monday + 30 * Day);
    ASSERT_TRUE(HasStarted(1));
    m_clock.NextWait();
    RestartAt(Monday + 30 * Day + 60);
    const auto next = m_clock.NextWait();
    ASSERT_TRUE(next);
    EXPECT_EQ((*next - Monday) % (7 * Day), Day + 12 * Hour);
    EXPECT_EQ(m_engine.Made(), 1);
    EXPECT_EQ(Set({{"RunMissed", "no"}}), ulk::sOk);
    RestartAt(Monday + 90 * Day);
    m_clock.NextWait();
    EXPECT_EQ(m_engine.Made(), 1);
    TaskSchedule schedule;
    ASSERT_EQ(m_registry->GetSchedule(u"2", schedule), ulk::sOk);
    EXPECT_EQ(schedule.text, u"Weekly, Tuesday, 12:00") << "kept";
}

TEST_F(SchedulerTest, AtStartMeansTheServicesAndARunningTaskIsPassedOver) {
    ASSERT_EQ(Set({{"RuleType", "AtStart"}}), ulk::sOk);
    Start();
    ASSERT_TRUE(HasStarted(1));
    ASSERT_EQ(Set({{"RuleType", "Hourly"}, {"StartTime", "00:15"}}), ulk::sOk);
    ASSERT_EQ(Do(TaskCommand::Start), ulk::sOk);
    m_engine.Run(2);
    m_clock.Set(Monday + 900);
    while (m_clock.NextWait() != Monday + Hour + 900) {
    }
    EXPECT_EQ(m_engine.Made(), 2);
    m_engine.Run(2)->Finish();
}

TEST_F(SchedulerTest, SchedulesAreChangedByAdministratorsAsAWhole) {
    ValidationMessages messages;
    const auto set = [&](const rpc::Caller& caller, std::u16string_view task,
                         std::vector<tfs::settings::ChangeItem> items, bool toDefault = false) {
        return m_registry->SetSchedule(caller, task, {ScheduleSettings::TypeNumber, std::move(items), false}, toDefault,
                                       messages);
    };
    EXPECT_EQ(set(User, u"2", {{"RuleType", "Daily"}}), ulk::eAccessDenied);
    EXPECT_EQ(set(Administrator, u"77", {{"RuleType", "Daily"}}), ulk::eNotFound);
    EXPECT_EQ(set(User, Create(User, {"/"}), {{"RuleType", "Daily"}}), ulk::eNotSupported);
    const std::vector<std::vector<tfs::settings::ChangeItem>> bad{
        {},
        {{"RuleType", "Yearly"}},
        {{"RuleType", "Daily"}, {"StartTime", "25:00"}},
        {{"RuleType", "Daily"}, {"Unknown", "1"}},
        {{"RuleType", "Monthly"}, {"DayOfMonth", "32"}},
    };
    for (const auto& items : bad) {
        EXPECT_EQ(set(Administrator, u"2", items), sInvalidSettings);
        EXPECT_FALSE(messages.empty());
    }
    TaskSchedule schedule;
    ASSERT_EQ(m_registry->GetSchedule(u"2", schedule), ulk::sOk);
    EXPECT_EQ(schedule.mode, 0u) << "nothing of a bad list counts";
    EXPECT_FALSE(m_recorder.Has(EventName::TaskScheduleChanged));
    ASSERT_EQ(set(Administrator, u"2", {{"RuleType", "Monthly"}, {"DayOfMonth", "31"}}), ulk::sOk);
    EXPECT_TRUE(messages.empty());
    ASSERT_TRUE(Eventually([&] { return m_recorder.Has(EventName::TaskScheduleChanged); }));
    const Event event = m_recorder.Of(EventName::TaskScheduleChanged).front();
    EXPECT_EQ(event.initiatorUser->uid, Administrator.uid);
    EXPECT_EQ(ValueOf<std::uint64_t>(event, AdditionalName::TaskId), 2u);
    EXPECT_EQ(ValueOf<ulk::types::string16_t>(event, AdditionalName::Settings),
              u"RuleType=Monthly, StartTime=00:00, DayOfWeek=Sunday, DayOfMonth=31, RunMissed=no");
    EXPECT_EQ(set(Administrator, u"2", {}, true), ulk::sOk);
    ASSERT_EQ(m_registry->GetSchedule(u"2", schedule), ulk::sOk);
    EXPECT_EQ(schedule.mode, 0u);
}

TEST(SystemWallClock, WaitsEndAtTheirTimeAndWhenWoken) {
    SystemWallClock clock;
    clock.WaitUntil(clock.Now() - 5);
    clock.WaitUntil(0);
    const std::int64_t begin = clock.Now();
    clock.WaitUntil(begin + 1);
    EXPECT_GE(clock.Now(), begin + 1);
    clock.Wake(); // before the wait counts
    clock.WaitUntil(std::nullopt);
    std::thread waker([&] { clock.Wake(); });
    clock.WaitUntil(clock.Now() + 1000);
    waker.join();
}

} // namespace
} // namespace tfs::service::tasks
