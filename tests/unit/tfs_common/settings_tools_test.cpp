// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>
#include <tests/unit/foundation/test_services.h>
#include <tfs_common/settings_tools.h>
#include <tfs_common/update_failure.h>
#include <tfs_common/validation_text.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tfs::tools {
namespace {

using settings::AppSettings;
using settings::ChangeItem;
using settings::SettingsChangeList;
using settings::ValidationMessage;
using ulk::types::any_struct_t;
using Messages = std::vector<ValidationMessage>;

SettingsChangeList Changes(std::vector<ChangeItem> items) {
    SettingsChangeList list;
    list.typeNumber = AppSettings::TypeNumber;
    list.items = std::move(items);
    return list;
}

any_struct_t Holder(const AppSettings& settings = {}) {
    any_struct_t holder;
    holder.Set(settings);
    return holder;
}

std::string ReasonOf(const any_struct_t& current, const SettingsChangeList& changes) {
    Messages messages;
    try {
        UpdateSettings(nullptr, current, changes, messages);
    } catch (const ulk::CheckResultFailedException& e) {
        return ulk::text::ToUtf8Lossy(e.Message());
    }
    ADD_FAILURE() << "nothing thrown";
    return {};
}

TEST(UpdateSettings, AppliesTheListToACopy) {
    const any_struct_t current = Holder();
    Messages messages;
    const any_struct_t updated = UpdateSettings(nullptr, current,
                                                Changes({{"UseTSN", "Extended"},
                                                         {"TraceLevel", "Detailed"},
                                                         {"TraceFolderSizeLimit", "107374182400"},
                                                         {"UseSyslog", "true"},
                                                         {"MaxEventsNumber", "2000"},
                                                         {"TraceFolder", "/var/log/elsewhere/"},
                                                         {"UIReportsForRootOnly", "yes"},
                                                         {"MaxEventsNumber", "3000"},
                                                         {"UseTSN", "Basic"}}),
                                                messages);
    AppSettings expected;
    expected.useTsn = types::TsnUsage::Basic;
    expected.traceLevel = types::TraceLevel::Detailed;
    expected.traceFolderSizeLimit = 107374182400;
    expected.useSyslog = true;
    expected.maxEventsNumber = 3000;
    expected.traceFolder = "/var/log/elsewhere/";
    expected.uiReportsForRootOnly = true;
    ASSERT_NE(updated.Get<AppSettings>(), nullptr);
    EXPECT_EQ(*updated.Get<AppSettings>(), expected);
    EXPECT_EQ(*current.Get<AppSettings>(), AppSettings());
    EXPECT_TRUE(messages.empty());
}

TEST(UpdateSettings, WhatIsListedIsTaken) {
    AppSettings settings;
    settings.useTsn = types::TsnUsage::SaveStatisticsToFile;
    settings.limitNumberOfScanFileTasks = 0;
    settings.sambaConfigPath = "/a b/\xFF";
    const auto items = ListSettings(nullptr, Holder(settings));
    ASSERT_EQ(items.size(), 16u);
    EXPECT_EQ(items.front(), (ChangeItem{"SambaConfigPath", "/a b/\xFF"}));
    EXPECT_EQ(items.back(), (ChangeItem{"BackupSizeLimit", "0"}));
    Messages messages;
    EXPECT_EQ(*UpdateSettings(nullptr, Holder(), Changes(items), messages).Get<AppSettings>(), settings);
    EXPECT_TRUE(ListSettings(nullptr, {}).empty());
}

TEST(UpdateSettings, DefaultsAreWithinTheirOwnRules) {
    const auto changes = Changes(ListSettings(nullptr, Holder()));
    Messages messages;
    EXPECT_EQ(ValidateChangeList(nullptr, Holder(), changes, messages), ulk::sOk);
    EXPECT_TRUE(messages.empty());
}

TEST(UpdateSettings, AFailureSaysItsReasonAndChangesNothing) {
    const std::string notDescribed = "Settings are not described";
    auto foreign = Changes({{"UseTSN", "Basic"}});
    foreign.typeNumber = 5;
    EXPECT_EQ(ReasonOf(Holder(), foreign), "Expected settings type 5 but current type is 1611243813");
    EXPECT_EQ(ReasonOf({}, Changes({})), "Expected settings type 1611243813 but current type is 0");
    EXPECT_EQ(ReasonOf({}, {}), notDescribed);
    EXPECT_EQ(ReasonOf(Holder(), Changes({{"UseTSN", "basic"}, {"TraceLevel", "x"}})),
              "Cannot parse value 'basic' for setting 'UseTSN'");
    EXPECT_EQ(ReasonOf(Holder(), Changes({{"TraceMaxFileCount", "0"}})),
              "Cannot parse value '0' for setting 'TraceMaxFileCount'");
    EXPECT_EQ(ReasonOf(Holder(), Changes({{"UseTSN", "basic"}, {"Nothing", "x"}})), "Cannot validate change list");

    const struct {
        SettingsChangeList changes;
        result_t code;
        std::size_t messages;
        const char* lastLine;
    } rows[] = {
        {foreign, ulk::eInvalidType, 0,
         "Cannot update settings: Expected settings type 5 but current type is 1611243813"},
        {Changes({{"UseSyslog", "yes"}, {"UseTSN", "basic"}}), ulk::eInvalidArgument, 1,
         "Cannot update settings: Cannot parse value 'basic' for setting 'UseTSN'"},
        {Changes({{"UseSyslog", "yes"}, {"unique_id", "1"}}), ulk::eNotFound, 1,
         "Cannot update settings: Cannot validate change list"},
    };
    for (const auto& row : rows) {
        const ulk::test::Services services;
        services.tracer->greatestLevel = ulk::level::Failure;
        any_struct_t updated = Holder({.traceFolder = "/as/it/was"});
        Messages messages;
        EXPECT_EQ(UpdateSettings(services.locator.Get(), Holder(), row.changes, messages, updated), row.code);
        EXPECT_EQ(updated.Get<AppSettings>()->traceFolder, "/as/it/was");
        EXPECT_EQ(messages.size(), row.messages);
        ASSERT_FALSE(services.tracer->lines.empty());
        EXPECT_EQ(services.tracer->lines.back(), row.lastLine);
        if (row.code == ulk::eNotFound) {
            const std::string& check = services.tracer->lines.front();
            EXPECT_NE(check.find("(ValidateChangeList(changes, messages)),(ULK_SUCCEEDED(_result)) failed: "
                                 "result = 0x8000004cCannot validate change list"),
                      std::string::npos)
                << check;
        } else if (row.code == ulk::eInvalidArgument) {
            EXPECT_EQ(services.tracer->lines.front(), "There is no such 'TsnUsage::Type' value: basic");
        }
        // The form by value tells the same, and then throws.
        const auto lines = std::exchange(services.tracer->lines, {});
        EXPECT_THROW(UpdateSettings(services.locator.Get(), Holder(), row.changes, messages),
                     ulk::CheckResultFailedException);
        EXPECT_EQ(services.tracer->lines.size(), lines.size());
        EXPECT_EQ(services.tracer->lines.back(), lines.back());
    }
}

TEST(UpdateSettings, AFailureWithoutATextIsUnexpected) {
    const struct {
        std::exception_ptr failure;
        result_t code;
        const char* text;
    } rows[] = {
        {std::make_exception_ptr(std::runtime_error("why")), ulk::eUnexpected, "Cannot update settings: why"},
        {std::make_exception_ptr(std::runtime_error("")), ulk::eUnexpected, "Cannot update settings: Unexpected error"},
        {std::make_exception_ptr(7), ulk::eUnexpected, "Cannot update settings: Unexpected error"},
        {std::make_exception_ptr(std::bad_alloc()), ulk::eOutOfMemory, "Cannot update settings: std::bad_alloc"},
    };
    for (const auto& row : rows) {
        const UpdateFailure failure = DescribeUpdateFailure(row.failure);
        EXPECT_EQ(failure.code, row.code);
        EXPECT_EQ(failure.text, row.text);
    }
}

TEST(ValidateChangeList, TellsEachFaultWithWhatIsAllowed) {
    const std::string longPath = "/" + std::string(4095, 'p');
    const struct {
        ChangeItem item;
        result_t result;
        ValidationMessage message;
    } rows[] = {
        {{"Nothing", "1"}, ulk::eNotFound, {"UnsupportedSetting1", {u"Nothing=1"}}},
        {{"", ""}, ulk::eNotFound, {"UnsupportedSetting1", {u"="}}},
        {{"usesyslog", "yes"}, ulk::eNotFound, {"UnsupportedSetting1", {u"usesyslog=yes"}}},
        {{"UseSyslog.item_0000", "yes"}, ulk::eNotFound, {"UnsupportedSetting1", {u"UseSyslog.item_0000=yes"}}},
        {{"UseSyslog", "1"}, sInvalidSettings, {"SettingShouldBeValueOrValue3", {u"UseSyslog=1", u"yes", u"no"}}},
        {{"UseTSN", "On"},
         sInvalidSettings,
         {"SettingShouldBeValueOrValue3", {u"UseTSN=On", u"Off, Extended, Basic", u"SaveStatisticsToFile"}}},
        {{"TraceMaxFileCount", "ten"}, sInvalidSettings, {"SettingValueIsNotValidInteger", {u"TraceMaxFileCount=ten"}}},
        {{"TraceMaxFileSize", "501"},
         sInvalidSettings,
         {"SettingValueIsOutOfRangeInt3", {u"TraceMaxFileSize=501", u"1", u"500"}}},
        {{"TraceFolderSizeLimit", "1048575"},
         sInvalidSettings,
         {"SettingValueIsOutOfRangeInt3", {u"TraceFolderSizeLimit=1048575", u"1048576", u"107374182400"}}},
        {{"TraceFolder", "logs"},
         sInvalidSettings,
         {"IncorrectSettingsPathShouldBeAbsolute2", {u"logs", u"TraceFolder"}}},
        {{"TraceFolder", "/a/../b"},
         sInvalidSettings,
         {"IncorrectSettingsPathShouldBeAbsolute2", {u"/a/../b", u"TraceFolder"}}},
        {{"NfsExportPath", longPath},
         sInvalidSettings,
         {"SettingIsTooLongAllowedSize2",
          {ulk::text::ToUtf16Lossy("NfsExportPath=" + longPath.substr(0, 256) + "..."), u"4095"}}},
    };
    for (const auto& row : rows) {
        Messages messages;
        EXPECT_EQ(ValidateChangeList(nullptr, Holder(), Changes({row.item}), messages), row.result) << row.item.key;
        ASSERT_EQ(messages.size(), 1u) << row.item.key;
        EXPECT_EQ(messages[0], row.message) << row.item.key;
        // The catalogue has the text and it takes as many arguments.
        const std::string text = localization::ValidationText(messages);
        EXPECT_NE(text, "") << row.message.textKey;
        for (const auto& argument : row.message.arguments)
            EXPECT_NE(text.find(ulk::text::ToUtf8Lossy(argument)), std::string::npos) << text;
    }
}

TEST(ValidateChangeList, TellsAllFaultsButNotWithoutEnd) {
    Messages messages{{"UnsupportedSetting1", {u"of before"}}};
    EXPECT_EQ(ValidateChangeList(nullptr, Holder(),
                                 Changes({{"UseTSN", "x"}, {"a", "1"}, {"UseSyslog", "no"}, {"TraceLevel", "y"}}),
                                 messages),
              ulk::eNotFound);
    ASSERT_EQ(messages.size(), 4u);
    EXPECT_EQ(messages[3].arguments.front(), u"TraceLevel=y");

    messages.clear();
    const std::string longKey(5000, '\xFF');
    EXPECT_EQ(
        ValidateChangeList(nullptr, Holder(), Changes(std::vector<ChangeItem>(1000, {longKey, longKey})), messages),
        ulk::eNotFound);
    EXPECT_EQ(messages.size(), GreatestMessageCount);
    EXPECT_LT(messages.front().arguments.front().size(), 600u);
}

} // namespace
} // namespace tfs::tools
