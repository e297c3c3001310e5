// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/value_text.h>

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

namespace tfs::types {
namespace {

template <class Action>
std::string Failure(Action action) {
    try {
        action();
    } catch (const std::invalid_argument& e) {
        return e.what();
    }
    ADD_FAILURE() << "nothing thrown";
    return {};
}

/// Every named value makes the round trip; a text or a number without a row fails by the type's name.
template <class Named>
void ExpectPair(const std::string& type) {
    SCOPED_TRACE(type);
    for (const ValueRow& row : Named::Table().Rows()) {
        typename Named::Type value{};
        FromString(row.name, value);
        EXPECT_EQ(value, row.value);
        EXPECT_EQ(ToString(value), row.name);
    }
    auto value = static_cast<typename Named::Type>(Named::Table().Rows()[1].value);
    const auto before = value;
    for (const std::string& text :
         {std::string(), std::string("nothing of the kind"), std::string(Named::Table().Rows()[0].name) + " "})
        EXPECT_EQ(Failure([&] { FromString(text, value); }), "There is no such '" + type + "' value: " + text);
    EXPECT_EQ(value, before);
    EXPECT_EQ(Failure([] { ToString(static_cast<typename Named::Type>(-1)); }),
              "Invalid value provided: 4294967295 for type " + type);
    EXPECT_EQ(Failure([] { ToString(static_cast<typename Named::Type>(1000)); }),
              "Invalid value provided: 1000 for type " + type);
}

TEST(ValueText, EachTypeIsReadAndWrittenByItsTable) {
    ExpectPair<TraceLevel>("TraceLevel::Type");
    ExpectPair<AdditionalName>("AdditionalName::Type");
    ExpectPair<TsnUsage>("TsnUsage::Type");
    ExpectPair<EventName>("EventName::Type");
    ExpectPair<DangerLevel>("DangerLevel::Type");
    ExpectPair<Initiator>("Initiator::Type");
    ExpectPair<FilesystemType>("FilesystemType::Type");
}

TEST(ValueText, MatchesExactly) {
    TsnUsage::Type usage = TsnUsage::Off;
    FromString("Basic", usage);
    EXPECT_EQ(usage, 2);
    FromString("Extended", usage);
    EXPECT_EQ(usage, 1);
    EXPECT_EQ(Failure([&] { FromString("basic", usage); }), "There is no such 'TsnUsage::Type' value: basic");
    EXPECT_EQ(Failure([] { ToString(static_cast<EventName::Type>(7)); }),
              "Invalid value provided: 7 for type EventName::Type");
}

TEST(ValueText, ABooleanIsShownByOneWordAndReadFromTwo) {
    EXPECT_EQ(ToString(true), "Yes");
    EXPECT_EQ(ToString(false), "No");
    EXPECT_EQ(ToSettingText(true), "yes");
    EXPECT_EQ(ToSettingText(false), "no");
    for (const char* text : {"yes", "true"}) {
        bool value = false;
        FromString(text, value);
        EXPECT_TRUE(value) << text;
    }
    for (const char* text : {"no", "false"}) {
        bool value = true;
        FromString(text, value);
        EXPECT_FALSE(value) << text;
    }
    bool value = true;
    for (const char* text : {"", "Yes", "No", "YES", "True", "1", "0", "yes ", "on"})
        EXPECT_EQ(Failure([&] { FromString(text, value); }), std::string("There is no such 'bool' value: ") + text);
    EXPECT_TRUE(value);
}

} // namespace
} // namespace tfs::types
