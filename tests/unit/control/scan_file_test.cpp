// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/json_reporter.h>
#include <control/scan_file.h>
#include <tests/unit/control/fake_service.h>

#include <gtest/gtest.h>
#include <sstream>

namespace tfs::control {
namespace {

using test::FakeLocator;
using types::AdditionalName;
using types::EventName;

Event TaskEvent(EventName::Type type, std::uint64_t taskId = FirstTemporaryTaskId) {
    Event event;
    event.type = type;
    event.Add(AdditionalName::TaskId, taskId);
    return event;
}

Event StateEvent(types::TaskState::Type state, std::uint64_t taskId = FirstTemporaryTaskId) {
    Event event = TaskEvent(EventName::TaskStateChanged, taskId);
    event.Add(AdditionalName::TaskState, static_cast<std::int32_t>(state));
    return event;
}

Event Threat(const std::string& path, const std::string& name, std::uint64_t taskId = FirstTemporaryTaskId) {
    Event event = TaskEvent(EventName::ThreatDetected, taskId);
    event.Add(AdditionalName::FileName, path);
    event.Add(AdditionalName::DetectName, name);
    return event;
}

class ScanFileCommand : public testing::Test {
protected:
    ScanFileCommand() {
        OxsStatistic statistic;
        statistic.taskId = FirstTemporaryTaskId;
        statistic.scan.scannedObjects = 12;
        m_locator->tasks->statistics.push_back(statistic);
    }

    /// Events that the service sends once the task is started.
    void AfterStart(std::vector<Event> events) {
        m_locator->tasks->onStart = [this, events = std::move(events)] {
            for (const Event& event : events)
                m_locator->subscriber->Publish(event);
        };
    }

    ExitCode Run() {
        const CommandContext context{m_locator.Get(), [this] { return m_alive; }, [this] { return m_stopRequests; },
                                     m_reporter};
        return ScanFile(context, {"/"});
    }

    nlohmann::json Document() {
        m_reporter.Finish();
        return nlohmann::json::parse(m_out.str());
    }

    ulk::Ptr<FakeLocator> m_locator = ulk::Ptr<FakeLocator>::Adopt(new FakeLocator);
    std::ostringstream m_out;
    JsonReporter m_reporter{m_out};
    bool m_alive = true;
    unsigned m_stopRequests = 0;
};

TEST_F(ScanFileCommand, TellsACleanResult) {
    AfterStart({StateEvent(types::TaskState::Started), StateEvent(types::TaskState::Stopped)});
    EXPECT_EQ(Run(), ExitCode::Ok);
    EXPECT_EQ(m_locator->tasks->created.areas, std::vector<std::string>{"/"});
    EXPECT_FALSE(m_locator->subscriber->receiver);
    const auto document = Document();
    EXPECT_TRUE(document.at("threats").empty());
    EXPECT_EQ(document.at("summary").at("scannedObjects"), 12);
}

TEST_F(ScanFileCommand, TellsThreatsOfItsOwnTaskOnly) {
    AfterStart({Threat("/other", "X", 2), StateEvent(types::TaskState::Stopped, 2), Threat("/b\xff", "Test.File"),
                StateEvent(types::TaskState::Stopped)});
    EXPECT_EQ(Run(), ExitCode::ThreatFound);
    const auto threats = Document().at("threats");
    ASSERT_EQ(threats.size(), 1u);
    EXPECT_EQ(threats[0].at("path"), "/b\xEF\xBF\xBD");
    EXPECT_EQ(threats[0].at("pathHex"), "2f62ff");
    EXPECT_EQ(threats[0].at("threat"), "Test.File");
}

TEST_F(ScanFileCommand, NeverCallsAnUnreadFileClean) {
    Event event = TaskEvent(EventName::ObjectNotProcessed);
    event.Add(AdditionalName::FileName, "/a.zip");
    event.Add(AdditionalName::SkipReason, "encrypted");
    event.Add(AdditionalName::ObjectProcessError, "a.txt");
    AfterStart({event, StateEvent(types::TaskState::Stopped)});
    EXPECT_EQ(Run(), ExitCode::NotProcessed);
    EXPECT_EQ(Document().at("notProcessed")[0].at("reason"), "encrypted: a.txt");
}

TEST_F(ScanFileCommand, BelievesTheServicesCountWhereAnEventWasLost) {
    m_locator->tasks->statistics[0].scan.threatsFound = 1;
    AfterStart({StateEvent(types::TaskState::Stopped)});
    EXPECT_EQ(Run(), ExitCode::ThreatFound);
}

TEST_F(ScanFileCommand, EndsAlsoWhereTheLastEventWasLost) {
    m_locator->tasks->onStart = [this] { m_locator->tasks->tasks.clear(); };
    EXPECT_EQ(Run(), ExitCode::Ok);
}

TEST_F(ScanFileCommand, StopsTheTaskWhenAsked) {
    m_stopRequests = 1;
    m_locator->tasks->onStop = [this] {
        m_locator->subscriber->Publish(StateEvent(types::TaskState::Stopping));
        m_locator->subscriber->Publish(StateEvent(types::TaskState::Stopped));
    };
    EXPECT_EQ(Run(), ExitCode::Stopped);
    EXPECT_EQ(m_locator->tasks->commands.back(), u"stop 100");
    EXPECT_EQ(Document().at("summary").at("end"), "stopped");
}

/// Tells how many findings had come when the request to stop was heeded.
struct StopReporter final : JsonReporter {
    using JsonReporter::JsonReporter;
    int findings = 0;
    int findingsBeforeStop = -1;
    void Finding(const ScanFinding&) override { ++findings; }
    void StopAsked() override { findingsBeforeStop = findings; }
};

TEST_F(ScanFileCommand, HeedsARequestToStopInAFloodOfFindings) {
    m_stopRequests = 1;
    AfterStart(std::vector<Event>(50, Threat("/a", "X")));
    m_locator->tasks->onStop = [this] { m_locator->subscriber->Publish(StateEvent(types::TaskState::Stopped)); };
    StopReporter reporter(m_out);
    const CommandContext context{m_locator.Get(), [] { return true; }, [this] { return m_stopRequests; }, reporter};
    EXPECT_EQ(ScanFile(context, {"/"}), ExitCode::ThreatFound);
    EXPECT_LE(reporter.findingsBeforeStop, 1);
    EXPECT_EQ(reporter.findings, 50);
}

TEST_F(ScanFileCommand, DoesNotCallAScanCleanThatSomebodyElseStopped) {
    AfterStart({StateEvent(types::TaskState::Stopping), StateEvent(types::TaskState::Stopped)});
    EXPECT_EQ(Run(), ExitCode::Stopped);
}

TEST_F(ScanFileCommand, TellsWhyTheServiceBrokeTheScanOff) {
    Event interrupted = TaskEvent(EventName::OnDemandTaskInterrupted);
    interrupted.Add(AdditionalName::Reason, "no workers");
    AfterStart({interrupted, StateEvent(types::TaskState::Stopped)});
    EXPECT_EQ(Run(), ExitCode::Stopped);
    const auto summary = Document().at("summary");
    EXPECT_EQ(summary.at("end"), "interrupted");
    EXPECT_EQ(summary.at("reason"), "no workers");
}

template <class Function>
ExitCode FailureOf(Function function) {
    try {
        function();
    } catch (const Failure& failure) {
        return failure.Code();
    }
    return ExitCode::Ok;
}

TEST_F(ScanFileCommand, FailsWhenTheServiceGoesAway) {
    m_alive = false;
    EXPECT_EQ(FailureOf([this] { Run(); }), ExitCode::Unavailable);
    EXPECT_FALSE(m_locator->subscriber->receiver);
}

TEST_F(ScanFileCommand, LeavesNoTaskBehindThatCouldNotStart) {
    m_locator->tasks->startResult = ulk::eAccessDenied;
    EXPECT_EQ(FailureOf([this] { Run(); }), ExitCode::Denied);
    EXPECT_EQ(m_locator->tasks->commands.back(), u"delete Scan_File_100");
}

TEST_F(ScanFileCommand, FailsWhereTheTaskIsNotStarted) {
    AfterStart({TaskEvent(EventName::TaskNotStarted)});
    EXPECT_EQ(FailureOf([this] { Run(); }), ExitCode::Internal);
}

} // namespace
} // namespace tfs::control
