// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/failure.h>
#include <tests/unit/control/program_fixture.h>

namespace tfs::control {
namespace {

using nlohmann::json;
using types::AdditionalName;
using types::EventName;
using ulk::Ptr;

Event Detection(Event::IdType id) {
    Event event;
    event.id = id;
    event.type = EventName::ThreatDetected;
    event.severity = types::EventSeverity::Critical;
    event.initiator = types::EventInitiator::User;
    event.initiatorUser = EventUser{1000, u"evil\x1b[2J"};
    event.time = 1'700'000'000;
    event.Add(AdditionalName::FileName, std::string("/a\n\x1b[31m\xff"));
    event.Add(AdditionalName::DetectType, std::uint32_t{types::DetectType::Trojware});
    event.Add(AdditionalName::TaskId, std::uint64_t{7});
    event.Add(AdditionalName::TaskState, std::int32_t{99});
    event.Add(AdditionalName::AVBasesDate, ulk::types::FileTime{133'444'736'000'000'000});
    event.Add(AdditionalName::ProcessResult, true);
    event.Add(AdditionalName::Information, ulk::types::variant_t());
    event.Add(AdditionalName::ExtraRule, ulk::types::variant_t::Vector{"one", std::int32_t{2}});
    event.Add(AdditionalName::Reason, "not for displays", true);
    event.Add(static_cast<AdditionalName::Type>(9999), "x");
    return event;
}

class EventCommands : public test::ProgramTest {
protected:
    void SetUp() override {
        stopRequests = [] { return 1u; };
    }
    EventQuery Asked() { return locator->storer->query; }
};

TEST_F(EventCommands, QueryCarriesEveryFilter) {
    ASSERT_EQ(Run({"--event-query"}), 0);
    EventQuery expected;
    expected.limit = 100;
    EXPECT_EQ(Asked(), expected);
    EXPECT_NE(m_out.str().find("no such events"), std::string::npos);

    ASSERT_EQ(Run({"--event-query", "--event-type", "ThreatDetected,TaskCreated", "--event-type", "UpdateError",
                   "--task-type", "ODS", "--task-id", "18446744073709551615", "--from", "2023-11-14", "--to",
                   "2023-11-14T22:13:20Z", "--limit", "4294967295", "--order", "asc"}),
              0);
    const auto type = [](EventName::Type value) {
        return QueryClause{u"EventType", u"==", static_cast<std::uint32_t>(value), u"OR"};
    };
    expected.filters = {type(EventName::ThreatDetected),
                        type(EventName::TaskCreated),
                        type(EventName::UpdateError),
                        {u"TaskType", u"==", ulk::types::string16_t(u"ODS"), u"AND"},
                        {u"TaskId", u"==", std::numeric_limits<std::uint64_t>::max(), u"AND"},
                        {u"Date", u">=", std::int64_t{1'699'920'000}, u"AND"},
                        {u"Date", u"<", std::int64_t{1'700'000'000}, u"AND"}};
    expected.limit = 0xFFFFFFFFu;
    expected.orderBy = u"EventID ASC";
    EXPECT_EQ(Asked(), expected);
}

TEST_F(EventCommands, WrongFiltersAreUsageFailures) {
    const std::vector<std::string> wrong[] = {
        {"--event-query", "--event-type", "threatdetected"},
        {"--event-query", "--event-type", "44"},
        {"--event-query", "--event-type", ""},
        {"--event-query", "--task-id", "-1"},
        {"--event-query", "--task-id", "7x"},
        {"--event-query", "--limit", "4294967296"},
        {"--event-query", "--from", "2023-02-30"},
        {"--event-query", "--from", "yesterday"},
        {"--event-query", "--to", "2023-11-14T22:13:20"},
        {"--event-query", "--to", "2023-11-14 x"},
        {"--event-query", "--order", "newest"},
        {"--event-query", "--task-type", "\xff"},
        {"--event-query", "extra"},
        {"--event-query", "--wait-events"},
        {"--wait-events", "--limit", "1"},
        {"--wait-events", "--task-id", "1"},
        {"--app-info", "--event-type", "ThreatDetected"},
        {"--app-info", "--from", "2023-11-14"},
    };
    for (const auto& arguments : wrong) {
        EXPECT_EQ(Run(arguments), 64) << arguments.back();
        EXPECT_EQ(m_err.str().find_first_of("\x1b\xff"), std::string::npos);
    }
    EXPECT_EQ(locator->storer->queries, 0);
}

TEST_F(EventCommands, ValuesAreToldByTheirNames) {
    locator->storer->events = {Detection(12)};
    ASSERT_EQ(Run({"--event-query", "--json"}), 0);
    const json events = json::parse(m_out.str()).at("events");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].at("id"), 12);
    EXPECT_EQ(events[0].at("type"), "ThreatDetected");
    EXPECT_EQ(events[0].at("severity"), "Critical");
    EXPECT_EQ(events[0].at("initiator"), "User");
    EXPECT_EQ(events[0].at("user").at("uid"), 1000);
    EXPECT_EQ(events[0].at("time"), "2023-11-14T22:13:20Z");
    EXPECT_EQ(events[0].at("fields"), json::parse(R"([
        {"name": "FileName", "value": "/a\n\u001b[31m\ufffd", "valueHex": "2f610a1b5b33316dff"},
        {"name": "DetectType", "value": "Trojware"},
        {"name": "TaskId", "value": 7},
        {"name": "TaskState", "value": "99"},
        {"name": "AVBasesDate", "value": "2023-11-14T22:13:20Z"},
        {"name": "ProcessResult", "value": true},
        {"name": "Information", "value": null},
        {"name": "ExtraRule", "value": ["one", 2]},
        {"name": "9999", "value": "x"}])"));

    ASSERT_EQ(Run({"--event-query"}), 0);
    const std::string text = m_out.str();
    for (const char* part : {"2023-11-14T22:13:20Z ThreatDetected\n", "Trojware", "/a\\n\\x1b[31m\\xff\n", "[one, 2]"})
        EXPECT_NE(text.find(part), std::string::npos) << part << " in " << text;
    EXPECT_EQ(text.find('\x1b'), std::string::npos);
    EXPECT_EQ(text.find("not for displays"), std::string::npos);
}

TEST_F(EventCommands, AFailingStoreHasItsCode) {
    locator->storer->result = ulk::eAccessDenied;
    EXPECT_EQ(Run({"--event-query"}), 77);
    EXPECT_EQ(m_out.str(), "");
    locator->storer->result = ulk::eNotReady;
    EXPECT_EQ(Run({"--event-query", "--json"}), 69);
    EXPECT_FALSE(json::parse(m_out.str()).contains("events"));
}

TEST_F(EventCommands, EventsThatComeAreTold) {
    stopRequests = [rounds = 0, published = false]() mutable {
        if (!std::exchange(published, true)) {
            Event other;
            other.type = EventName::TaskCreated;
            for (const Event& event : {Detection(1), other, Detection(3)})
                locator->subscriber->Publish(event);
        }
        return ++rounds > 2 ? 1u : 0u; // two events have been told by then
    };
    ASSERT_EQ(Run({"--wait-events", "--event-type", "ThreatDetected", "--json"}), 0);
    EXPECT_FALSE(locator->subscriber->receiver);
    std::istringstream lines(m_out.str());
    std::vector<json> told;
    for (std::string line; std::getline(lines, line);)
        told.push_back(json::parse(line));
    ASSERT_EQ(told.size(), 2u);
    EXPECT_EQ(told[0].at("id"), 1);
    EXPECT_EQ(told[1].at("id"), 3);
    EXPECT_EQ(locator->subscriber->filter.eventTypes, std::vector<std::uint32_t>{EventName::ThreatDetected});
}

TEST_F(EventCommands, WaitingEndsWellWhenAskedAndBadlyWithTheService) {
    EXPECT_EQ(Run({"--wait-events", "--json"}), 0);
    EXPECT_EQ(m_out.str(), "");
    ASSERT_EQ(Run({"--wait-events", "--task-type", "OAS"}), 0);
    EXPECT_EQ(locator->subscriber->filter.taskTypes, std::vector<ulk::types::string16_t>{u"OAS"});

    stopRequests = [] { return 0u; };
    isAlive = [] { return false; };
    EXPECT_EQ(Run({"--wait-events", "--json"}), 69);
    const std::string told = m_out.str();
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1);
    EXPECT_EQ(json::parse(told).at("error").at("code"), "unavailable");
}

TEST_F(EventCommands, WaitingEndsWhereNobodyReads) {
    stopRequests = [published = false]() mutable {
        if (!std::exchange(published, true))
            locator->subscriber->Publish(Detection(1));
        return 0u;
    };
    m_out.setstate(std::ios::badbit);
    EXPECT_EQ(RunProgram({"--wait-events"}, m_out, m_err, RunOnFake), 74);
}

} // namespace
} // namespace tfs::control
