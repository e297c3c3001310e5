// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/event.h>

#include <ctime>
#include <gtest/gtest.h>
#include <vector>

namespace tfs {
namespace {

using types::AdditionalName;
using types::EventName;
using ulk::types::string16_t;
using ulk::types::variant_t;

TEST(Event, ADefaultRecordIsOfNowAndOfTheProduct) {
    const std::time_t before = std::time(nullptr);
    const Event event;
    EXPECT_EQ(event.id, 0);
    EXPECT_EQ(event.severity, types::EventSeverity::Informational);
    EXPECT_EQ(event.initiator, types::EventInitiator::Product);
    EXPECT_FALSE(event.initiatorUser);
    EXPECT_TRUE(event.additional.empty());
    EXPECT_GE(event.time, before);
    EXPECT_LE(event.time, std::time(nullptr));
}

TEST(Event, AdditionalDataIsTheFirstPairOfTheName) {
    Event event;
    event.Add(AdditionalName::TaskId, std::uint32_t{2});
    event.Add(AdditionalName::FileName, "first", true);
    event.Add(AdditionalName::FileName, "second");
    EXPECT_EQ(event.additional[1].hidden, 1);
    EXPECT_EQ(event.additional[2].hidden, 0);

    variant_t value;
    EXPECT_EQ(event.GetAdditionalData(AdditionalName::FileName, value), ulk::sOk);
    EXPECT_EQ(value, variant_t("first"));
    string16_t text;
    EXPECT_EQ(event.GetAdditionalData(AdditionalName::FileName, text), ulk::sOk);
    EXPECT_EQ(text, u"first");
    EXPECT_EQ(event.GetAdditionalData(AdditionalName::TaskId, text), ulk::sOk);
    EXPECT_EQ(text, u"2");
}

TEST(Event, AFailedLookupLeavesTheOutputAsItWas) {
    Event event;
    event.Add(AdditionalName::Size, variant_t());
    event.Add(AdditionalName::Reason, variant_t(variant_t::Vector{variant_t(1)}));
    event.Add(AdditionalName::UpdateTime, ulk::types::FileTime{-1});
    const struct {
        AdditionalName::Type name;
        result_t code;
    } rows[] = {
        {AdditionalName::FileName, ulk::eUnspecified},
        {AdditionalName::Size, ulk::eInvalidType},
        {AdditionalName::Reason, ulk::eInvalidType},
        {AdditionalName::UpdateTime, ulk::eInvalidArgument},
    };
    for (const auto& row : rows) {
        string16_t text(u"as it was");
        EXPECT_EQ(event.GetAdditionalData(row.name, text), row.code) << row.name;
        EXPECT_EQ(text, u"as it was");
    }
    variant_t value(true);
    EXPECT_EQ(event.GetAdditionalData(AdditionalName::FileName, value), ulk::eUnspecified);
    EXPECT_EQ(value, variant_t(true));
}

TEST(EventFilter, PassesWhatItsThreeListsAllow) {
    constexpr auto kThreat = static_cast<std::uint32_t>(EventName::ThreatDetected);
    constexpr auto kState = static_cast<std::uint32_t>(EventName::TaskStateChanged);
    Event threat;
    threat.type = EventName::ThreatDetected;
    threat.Add(AdditionalName::TaskType, string16_t(u"ODS"));
    Event narrowThreat;
    narrowThreat.type = EventName::ThreatDetected;
    narrowThreat.Add(AdditionalName::TaskType, "OAS");
    Event bare;
    bare.type = EventName::TaskStateChanged;
    Event odd;
    odd.type = EventName::TaskStateChanged;
    odd.Add(AdditionalName::TaskType, variant_t());

    const struct {
        const char* name;
        EventFilter filter;
        std::vector<bool> passes; // threat, narrowThreat, bare, odd
    } rows[] = {
        {"empty", {}, {true, true, true, true}},
        {"one type", {{kThreat}, {}, {}}, {true, true, false, false}},
        {"two types", {{kState, kThreat}, {}, {}}, {true, true, true, true}},
        {"excluded", {{}, {kThreat}, {}}, {false, false, true, true}},
        {"excluded wins", {{kThreat, kState}, {kThreat}, {}}, {false, false, true, true}},
        {"task type", {{}, {}, {u"ODS"}}, {true, false, false, false}},
        {"task types", {{}, {}, {u"Update", u"OAS", u"ODS"}}, {true, true, false, false}},
        {"all three", {{kThreat}, {kState}, {u"OAS"}}, {false, true, false, false}},
    };
    for (const auto& row : rows) {
        std::vector<bool> passes;
        for (const Event* event : {&threat, &narrowThreat, &bare, &odd})
            passes.push_back(row.filter.Passes(*event));
        EXPECT_EQ(passes, row.passes) << row.name;
    }
}

} // namespace
} // namespace tfs
