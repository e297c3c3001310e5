// SPDX-License-Identifier: GPL-2.0-or-later
// The task that runs from the service's start on, until a user stops it.
#include <tests/unit/service/task_registry_fixture.h>

namespace tfs::service::tasks {
namespace {

/// Runs until it is stopped, or ends when the test says so.
class LastingRun final : public ITaskRun {
public:
    LastingRun(RunOrder order, IRunHost& host) : m_order(std::move(order)), m_host(host) {}
    void Execute() noexcept override {
        m_host.OnRunBegun(m_order.task);
        m_host.OnRunCounters(m_order.task, ScanStatistic{.scannedObjects = 7}, 70);
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_ended; });
        lock.unlock();
        m_host.OnRunEnded(m_order.task, m_outcome);
    }
    void Stop() noexcept override { End({true, RunEnd::Stopped, {}, {}}); }
    void Pause() noexcept override {}
    void Resume() noexcept override {}

    void End(RunOutcome outcome) {
        const std::lock_guard lock(m_mutex);
        m_outcome = std::move(outcome);
        m_ended = true;
        m_changed.notify_all();
    }
    void Wait(bool waits) { waits ? m_host.OnRunWaits(m_order.task) : m_host.OnRunBegun(m_order.task); }

private:
    const RunOrder m_order;
    IRunHost& m_host;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    RunOutcome m_outcome;
    bool m_ended = false;
};

class LastingFactory final : public IRunFactory {
public:
    std::shared_ptr<ITaskRun> MakeRun(RunOrder order, IRunHost& host) override {
        last = std::make_shared<LastingRun>(std::move(order), host);
        return last;
    }
    std::shared_ptr<LastingRun> last;
};

class LastingTask : public TaskRegistryTest {
protected:
    LastingTask() { m_factories.emplace(task_type::OAS, &m_lasting); }
    /// As the service does when it starts.
    void Begin() {
        Make();
        m_registry->StartLasting();
    }
    LastingFactory m_lasting;
};

TEST_F(LastingTask, RunsWithTheServiceUntilAUserStopsIt) {
    Begin();
    EXPECT_TRUE(Reaches(u"1", TaskState::Started)) << "on a fresh installation";
    Begin();
    EXPECT_TRUE(Reaches(u"1", TaskState::Started)) << "the end of the service is nobody's command";
    EXPECT_FALSE(m_recorder.Has(EventName::OnDemandTaskInterrupted));
    EXPECT_EQ(m_registry->GetOdsStatistics().scannedObjects, 0u) << "no scan on demand";
    OxsStatistic own;
    EXPECT_EQ(m_registry->GetStatistic(u"File_Monitoring", own), ulk::sOk);

    EXPECT_EQ(Do(TaskCommand::Pause, u"1"), ulk::eNotSupported);
    ASSERT_EQ(Do(TaskCommand::Stop, u"1"), ulk::sOk);
    ASSERT_TRUE(Reaches(u"1", TaskState::Stopped));
    Begin();
    EXPECT_EQ(State(u"1"), TaskState::Stopped);
    ASSERT_EQ(Do(TaskCommand::Start, u"1"), ulk::sOk);
    ASSERT_TRUE(Reaches(u"1", TaskState::Started));
    Begin();
    EXPECT_TRUE(Reaches(u"1", TaskState::Started));
}

TEST_F(LastingTask, IsStartingAgainWhileItWaits) {
    Begin();
    ASSERT_TRUE(Reaches(u"1", TaskState::Started));
    m_lasting.last->Wait(true);
    EXPECT_EQ(State(u"1"), TaskState::Starting);
    m_lasting.last->Wait(false);
    EXPECT_EQ(State(u"1"), TaskState::Started);
    ASSERT_EQ(Do(TaskCommand::Stop, u"1"), ulk::sOk);
    m_lasting.last->Wait(true); // too late
    EXPECT_TRUE(Reaches(u"1", TaskState::Stopped));
}

TEST_F(LastingTask, TellsThatItDoesNotProtectHoweverItFailed) {
    Begin();
    ASSERT_TRUE(Reaches(u"1", TaskState::Started));
    m_lasting.last->End({.begun = true,
                         .end = RunEnd::Failed,
                         .reason = types::TaskNotStartedReason::InterceptionDriverError,
                         .error = "gone"});
    ASSERT_TRUE(Reaches(u"1", TaskState::Stopped));
    ASSERT_TRUE(Eventually([&] { return m_recorder.Has(EventName::TaskNotStarted); }));
    const Event event = m_recorder.Of(EventName::TaskNotStarted).front();
    EXPECT_EQ(ValueOf<std::uint32_t>(event, AdditionalName::TaskNotStartedReason),
              types::TaskNotStartedReason::InterceptionDriverError);
    Begin();
    EXPECT_TRUE(Reaches(u"1", TaskState::Started)) << "a failure is nobody's command either";
}

} // namespace
} // namespace tfs::service::tasks
