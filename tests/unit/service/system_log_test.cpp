// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/system_log.h>
#include <service/store/event_bus.h>
#include <tests/unit/service/temp_folder.h>
#include <tests/unit/service/waiting.h>

#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <syslog.h>

namespace tfs::service::app {
namespace {

using tests::Eventually;
using tests::TempFolder;
using types::AdditionalName;
using types::EventName;
using types::EventSeverity;

Event Named(const std::string& fileName) {
    Event event;
    event.type = EventName::ThreatDetected;
    event.Add(AdditionalName::FileName, fileName);
    return event;
}

TEST(SystemLogLine, NamesTheEventAndItsDataOnOneLine) {
    Event event = Named("/tmp/a\nThreatDetected: \x1b[2J");
    event.Add(AdditionalName::Size, std::uint64_t{7});
    event.Add(AdditionalName::Information, "not for display", true);
    event.Add(AdditionalName::Settings, ulk::types::variant_t::Vector{});
    EXPECT_EQ(SystemLogLine(event), "ThreatDetected: FileName=/tmp/a?ThreatDetected: ?[2J, Size=7, Settings=");
    EXPECT_EQ(SystemLogLine(Named(std::string(10000, 'a'))).size(), 2048u);
    Event unknown;
    unknown.type = static_cast<EventName::Type>(9999);
    EXPECT_EQ(SystemLogLine(unknown), "9999");
    EXPECT_EQ(SystemLogPriority(EventSeverity::Critical), LOG_CRIT);
    EXPECT_EQ(SystemLogPriority(EventSeverity::Informational), LOG_INFO);
    EXPECT_EQ(SystemLogPriority(EventSeverity::Error), LOG_ERR);
}

/// Takes lines while its gate is open.
class GatedLog final : public ISystemLog {
public:
    void Write(int, const std::string& line) override {
        std::unique_lock lock(m_mutex);
        ++m_arrivals;
        m_changed.wait(lock, [this] { return m_isOpen; });
        m_lines.push_back(line);
    }
    void SetOpen(bool isOpen) {
        const std::lock_guard lock(m_mutex);
        m_isOpen = isOpen;
        m_changed.notify_all();
    }
    int Arrivals() {
        const std::lock_guard lock(m_mutex);
        return m_arrivals;
    }
    std::vector<std::string> Lines() {
        const std::lock_guard lock(m_mutex);
        return m_lines;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isOpen = true;
    int m_arrivals = 0;
    std::vector<std::string> m_lines;
};

struct ForwarderTest : testing::Test {
    /// A bus that isn't started: what is published stays in its ring.
    store::EventBus::Options Ring() const {
        store::EventBus::Options options;
        options.databasePath = folder.File("events.db");
        options.ringSize = 16;
        return options;
    }
    void Publish(int count) {
        for (int i = 0; i < count; ++i)
            bus.Publish(Named(std::to_string(++published)));
    }
    std::string Last() { return log->Lines().empty() ? "" : log->Lines().back(); }

    TempFolder folder;
    store::EventBus bus{Ring(), nullptr};
    std::shared_ptr<GatedLog> log = std::make_shared<GatedLog>();
    int published = 0;
};

TEST_F(ForwarderTest, WritesStoredEventsInOrderAndNoOthers) {
    SystemLogForwarder forwarder(bus, log);
    Publish(3);
    forwarder.SetEnabled(true);
    Publish(5);
    bus.PublishTransient(Named("progress"));
    Publish(1);
    ASSERT_TRUE(Eventually([&] { return Last() == "ThreatDetected: FileName=9"; }));
    EXPECT_EQ(log->Lines().size(), 6u);
    EXPECT_EQ(log->Lines().front(), "ThreatDetected: FileName=4");
}

TEST_F(ForwarderTest, ALogThatHangsHoldsNobodyUpAndIsToldWhatItMissed) {
    SystemLogForwarder forwarder(bus, log);
    forwarder.SetEnabled(true);
    log->SetOpen(false);
    Publish(1);
    ASSERT_TRUE(Eventually([&] { return log->Arrivals() == 1; }));
    Publish(100); // far more than the ring holds
    log->SetOpen(true);
    ASSERT_TRUE(Eventually([&] { return log->Lines().size() == 2; }));
    EXPECT_EQ(Last(), "The log fell behind; events left out: 100");
    Publish(1);
    EXPECT_TRUE(Eventually([&] { return Last() == "ThreatDetected: FileName=102"; }));
}

TEST_F(ForwarderTest, StopDoesNotWaitForALogThatHangs) {
    {
        SystemLogForwarder forwarder(bus, log);
        forwarder.SetEnabled(true);
        log->SetOpen(false);
        Publish(2);
        ASSERT_TRUE(Eventually([&] { return log->Arrivals() == 1; }));
        const auto begin = std::chrono::steady_clock::now();
        forwarder.Stop();
        forwarder.Stop();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15));
    }
    log->SetOpen(true);
    // The thread holds the log until it has ended.
    ASSERT_TRUE(Eventually([&] { return log.use_count() == 1; }));
    EXPECT_EQ(log->Lines().size(), 1u);
}

TEST_F(ForwarderTest, StopWritesWhatWasPublished) {
    SystemLogForwarder forwarder(bus, log);
    forwarder.SetEnabled(true);
    Publish(10);
    forwarder.Stop();
    EXPECT_EQ(log->Lines().size(), 10u);
    EXPECT_EQ(Last(), "ThreatDetected: FileName=10");
}

} // namespace
} // namespace tfs::service::app
