// SPDX-License-Identifier: GPL-2.0-or-later
// The built-in texts as a whole, and the translations that are delivered with them.
#include <tests/unit/tfs_common/recording_tracer.h>
#include <tfs_common/translator.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace tfs::localization;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr std::size_t kRows = 1237;

/// All entries in the order of their numbers.
std::vector<LocalizationEntry> Entries(LocalizationCatalogue catalogue = LocalizationCatalogue::BuiltIn()) {
    std::vector<LocalizationEntry> entries;
    catalogue.ForEach([&](const LocalizationEntry& entry) { entries.push_back(entry); });
    return entries;
}

std::vector<std::string> KeysWhere(const std::function<bool(const LocalizationEntry&)>& holds) {
    std::vector<std::string> keys;
    for (const LocalizationEntry& entry : Entries())
        if (holds(entry))
            keys.emplace_back(entry.key);
    return keys;
}

/// Entries of which every form holds the part; one that has it in some forms alone fails the test.
std::vector<std::string> KeysWith(std::string_view part) {
    return KeysWhere([&](const LocalizationEntry& entry) {
        const auto with = std::count_if(entry.forms.begin(), entry.forms.end(),
                                        [&](const std::string& form) { return form.find(part) != std::string::npos; });
        EXPECT_TRUE(with == 0 || static_cast<std::size_t>(with) == entry.forms.size()) << entry.key;
        return with != 0;
    });
}

std::vector<std::string> Matches(const std::string& text, const std::regex& pattern) {
    return {std::sregex_token_iterator(text.begin(), text.end(), pattern), std::sregex_token_iterator()};
}

TEST(Catalogue, FormsAndUnknownNumbers) {
    EXPECT_EQ(GetLocalizedString(entry::GuiDaysAgo, 0), "%d day ago");
    EXPECT_EQ(GetLocalizedString(entry::GuiDaysAgo, 7), "%d days ago");
    EXPECT_EQ(GetLocalizedString(entry::GuiSysTrayExit, 3), "Exit");
    EXPECT_EQ(GetLocalizedString(kRows), "63fc5ebd-ec5d-4486-91be-7c6efced3a77");
    EXPECT_EQ(GetLocalizedString(0xFFFFFFFFu, 1), "63fc5ebd-ec5d-4486-91be-7c6efced3a77");
    EXPECT_EQ(GetCurrentLanguage(), "en");
    EXPECT_EQ(GetPluralFormIndex(0), 1u);
    EXPECT_EQ(GetPluralFormIndex(1), 0u);
}

TEST(Catalogue, NumbersAreDenseAndStay) {
    const std::vector<LocalizationEntry> entries = Entries();
    ASSERT_EQ(entries.size(), kRows);
    for (std::size_t i = 0; i < entries.size(); ++i)
        EXPECT_EQ(entries[i].id, i);
    // One of each part of the table: a row that was put in or taken out would move those behind it.
    const std::vector<std::pair<std::uint32_t, std::string_view>> known = {
        {0, "TscEventAVBasesAreOutOfDate"},
        {124, "GuiLicenseActivateTrialKeyButtonText"},
        {209, "GuiReportsEventNameAVBasesApplied"},
        {370, "CannotAllowHosts"},
        {460, "GuiTaskStateUnknow"},
        {533, "GuiStatisitcsPeriodYearsAgo"},
        {668, "InvalidZoneName"},
        {863, "GuiReportsEventDetailsTypeMedium"},
        {1004, "GuiRestoreErrorUnknownError"},
        {1052, "GuiUpdateTaskListPageHeader"},
        {1235, "disabled"},
        {1236, "enabled"},
    };
    for (const auto& [id, key] : known)
        EXPECT_EQ(entries[id].key, key);
    EXPECT_EQ(entry::GuiRestoreErrorUnknownError, 1004u);
}

TEST(Catalogue, KeysAreUniqueAndHaveNoDot) {
    std::set<std::string_view> keys;
    for (const LocalizationEntry& entry : Entries()) {
        EXPECT_TRUE(keys.insert(entry.key).second) << entry.key;
        EXPECT_EQ(entry.key.find('.'), std::string_view::npos) << entry.key;
    }
}

TEST(Catalogue, PluralRows) {
    EXPECT_THAT(KeysWhere([](const LocalizationEntry& entry) { return entry.forms.size() == 2; }),
                ElementsAre("GuiLicenseValidTitleComputer", "GuiLicenseValidTitleDays", "GuiLicenseWillExpireDays",
                            "GuiProtectionStateInDays", "GuiStatisitcsPeriodWeeksAgo", "GuiStatisitcsPeriodYearsAgo",
                            "GuiMainErrorsCount", "GuiMainRecomendationsCount", "GuiMainRemainingStatus",
                            "GuiMainWarningsCount", "GuiPopupMessageWithThreats", "GuiDaysAgo", "GuiHoursAgo",
                            "GuiMinutesAgo"));
    for (const LocalizationEntry& entry : Entries()) {
        ASSERT_TRUE(entry.forms.size() == 1 || entry.forms.size() == 2) << entry.key;
        if (entry.forms.size() == 2) {
            for (const std::string& form : entry.forms)
                EXPECT_NE(Format(form, 3).find('3'), std::string::npos) << entry.key;
        }
    }
}

TEST(Catalogue, CountsOfPlaceholders) {
    EXPECT_EQ(KeysWith("%1$s").size(), 190u);
    EXPECT_EQ(KeysWith("%2$s").size(), 42u);
    EXPECT_EQ(KeysWith("%d").size(), 18u);
    EXPECT_THAT(KeysWith("%Y"), UnorderedElementsAre("GuiStatisticsPeriodDateFormat", "GuiDateTimeFormatLicenseFull",
                                                     "GuiDateTimeFormatMinutes", "GuiDateTimeFormatOnlyDate"));
    EXPECT_THAT(KeysWith("%s"),
                ElementsAre("GuiTaskNameCustomScanTaskFewScanAreas", "GuiTaskNameCustomScanTaskOneScanArea"));
    EXPECT_THAT(KeysWith("%1%"), IsEmpty());
}

/// Each directive is a known one, positional ones begin at 1 and leave none out.
TEST(Catalogue, PlaceholdersHaveNoGaps) {
    static const std::regex percent("%(?:%|[1-9]\\$s|[sdmYHM])?");
    for (const LocalizationEntry& entry : Entries()) {
        for (const std::string& form : entry.forms) {
            std::set<char> positions;
            for (const std::string& directive : Matches(form, percent)) {
                EXPECT_NE(directive, "%") << entry.key << ": " << form;
                if (directive.ends_with("$s"))
                    positions.insert(directive[1]);
            }
            char next = '1';
            for (const char position : positions)
                EXPECT_EQ(position, next++) << entry.key;
        }
    }
}

/// Labels that a value follows, and a sentence that another may follow.
bool EndsInBlank(std::string_view key) {
    static const std::regex statistic("GuiStatistic[A-Z][A-Za-z]*Name");
    static const std::set<std::string_view> others = {"GuiTaskListStatisticScannedObjectsName",
                                                      "GuiTaskListStatisticThreatsFoundName",
                                                      "GuiSupportTracingTraceLevel",
                                                      "GuiBackupDangerLevel",
                                                      "GuiBackupDateTime",
                                                      "GuiBackupFileName",
                                                      "GuiBackupFileSize",
                                                      "GuiBackupRemoveDateTime",
                                                      "GuiBackupSizeTitle",
                                                      "TsnNotAccepted1"};
    return others.contains(key) || std::regex_match(key.begin(), key.end(), statistic);
}

TEST(Catalogue, TextsAreClean) {
    static const std::regex control("[\\x01-\\x09\\x0B-\\x1F\\x7F]");
    for (const LocalizationEntry& entry : Entries()) {
        for (const std::string& form : entry.forms) {
            ASSERT_FALSE(form.empty()) << entry.key;
            EXPECT_EQ(form.find_first_not_of(" \n"), 0u) << entry.key;
            EXPECT_EQ(form.find_last_not_of(" \n") + 1, form.size() - (EndsInBlank(entry.key) ? 1 : 0)) << entry.key;
            EXPECT_FALSE(std::regex_search(form, control)) << entry.key;
            if (!entry.key.ends_with("Help")) {
                EXPECT_EQ(form.find("  "), std::string::npos) << entry.key;
            }
        }
    }
}

TEST(Catalogue, MarkupIsBalanced) {
    static const std::regex tag("</?[A-Za-z][^<>]*>?");
    for (const LocalizationEntry& entry : Entries()) {
        for (const std::string& form : entry.forms) {
            std::vector<std::string> open;
            for (const std::string& match : Matches(form, tag)) {
                ASSERT_EQ(match.back(), '>') << entry.key;
                const std::string name = match.substr(1, match.find_first_of(" >") - 1);
                if (!name.starts_with('/')) {
                    open.push_back('/' + name);
                } else {
                    ASSERT_FALSE(open.empty()) << entry.key;
                    EXPECT_EQ(open.back(), name) << entry.key;
                    open.pop_back();
                }
            }
            EXPECT_THAT(open, IsEmpty()) << entry.key;
        }
    }
}

/// The usage of a command begins alike everywhere and fits a terminal.
TEST(Catalogue, UsageOfCommands) {
    static const std::regex line("[^\n]+");
    for (const LocalizationEntry& entry : Entries()) {
        if (!entry.key.ends_with("Help"))
            continue;
        EXPECT_TRUE(entry.forms.front().starts_with("Usage: tesl-control ")) << entry.key;
        for (const std::string& text : Matches(entry.forms.front(), line))
            EXPECT_LE(text.size(), 110u) << entry.key;
    }
}

class DeliveredTranslation : public ::testing::TestWithParam<std::string> {};

TEST_P(DeliveredTranslation, LoadsWithoutAComplaint) {
    const std::filesystem::path file = std::filesystem::path(TESL_TEST_LOC_FOLDER) / GetParam();
    std::string language = file.stem();
    language.resize(std::min(language.find('_'), language.size()));
    const LanguageRule* rule = LocalizationHelper::Find(language == "zh" ? "zh-hans" : language);
    ASSERT_NE(rule, nullptr);
    const auto tracer = ulk::Ptr<test::RecordingTracer>::Adopt(new test::RecordingTracer());
    Translator translator(TESL_TEST_LOC_FOLDER);
    ASSERT_EQ(translator.LoadFile(tracer.Get(), file, rule->pluralFormsAmount, true), ulk::sOk);
    EXPECT_THAT(tracer->Lines(), ElementsAre("800 Loading localization resources from: " + file.string()));
    const std::vector<LocalizationEntry> english = Entries();
    const std::vector<LocalizationEntry> loaded = Entries(translator.Catalogue());
    for (std::size_t i = 0; i < english.size(); ++i) {
        EXPECT_EQ(loaded[i].forms.size(), english[i].forms.size() == 1 ? 1 : rule->pluralFormsAmount) << loaded[i].key;
        if (language == "en") {
            EXPECT_EQ(loaded[i].forms, english[i].forms) << loaded[i].key;
        }
    }
}

std::vector<std::string> DeliveredFiles() {
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(TESL_TEST_LOC_FOLDER))
        if (file.path().extension() == ".loc")
            names.push_back(file.path().filename());
    return names;
}

INSTANTIATE_TEST_SUITE_P(Files, DeliveredTranslation, ::testing::ValuesIn(DeliveredFiles()), [](const auto& file) {
    return std::regex_replace(std::filesystem::path(file.param).stem().string(), std::regex("[^A-Za-z0-9]"), "_");
});

} // namespace
