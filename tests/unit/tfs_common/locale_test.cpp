// SPDX-License-Identifier: GPL-2.0-or-later
#include <tfs_common/format_text.h>
#include <tfs_common/language_rules.h>
#include <tfs_common/locale_parser.h>

#include <gtest/gtest.h>

namespace {

using namespace tfs::localization;

TEST(LocaleParser, SplitsPosixNames) {
    struct Case {
        const char* text;
        const char* language;
        const char* territory;
    };
    for (const Case& c : {Case{"en_US.UTF-8", "en", "en_US"}, Case{"de_DE@euro", "de", "de_DE"},
                          Case{"zh_CN.UTF-8", "zh-hans", "zh_CN"}, Case{"zh_TW", "zh-hans", "zh_TW"},
                          Case{"fr_FR1_x", "fr", "fr_FR"}, Case{"pt_BR", "pt", "pt_BR"}}) {
        std::string language;
        std::string territory;
        EXPECT_EQ(ParseLocale(c.text, language, territory), ulk::sOk) << c.text;
        EXPECT_EQ(language, c.language) << c.text;
        EXPECT_EQ(territory, c.territory) << c.text;
    }
}

TEST(LocaleParser, RefusesOtherShapesAndChangesNothing) {
    for (const char* text : {"", "C", "POSIX", "C.UTF-8", "en", "en.UTF-8", "en_us", "EN_US", "eN_US", "en_U_S",
                             "en__US", "en_USs", "\xC3\xA9n_US"}) {
        std::string language = "kept";
        std::string territory = "kept too";
        EXPECT_EQ(ParseLocale(text, language, territory), ulk::eInvalidArgument) << text;
        EXPECT_EQ(language, "kept") << text;
        EXPECT_EQ(territory, "kept too") << text;
    }
    std::string unused;
    EXPECT_EQ(ParseLocale(nullptr, unused, unused), ulk::eInvalidArgument);
}

TEST(LanguageRules, PluralForms) {
    struct Case {
        const char* language;
        std::uint32_t amount;
        std::uint32_t form;
        std::vector<std::int64_t> counts;
    };
    const Case cases[] = {
        {"en", 2, 0, {1}},
        {"en", 2, 1, {0, 2, 11, 21, -1}},
        {"de", 2, 0, {1}},
        {"de", 2, 1, {0, 2}},
        {"fr", 2, 0, {0, 1, -5}},
        {"fr", 2, 1, {2, 21}},
        {"ru", 3, 0, {1, 21, 101}},
        {"ru", 3, 1, {2, 3, 4, 22, 104}},
        {"ru", 3, 2, {0, 5, 11, 12, 14, 19, 20, 111, 112, -1, -2}},
        {"ja", 1, 0, {0, 1, 2, 100}},
        {"zh-hans", 1, 0, {0, 1, 2, 100}},
    };
    for (const Case& c : cases) {
        const LanguageRule* rule = LocalizationHelper::Find(c.language);
        ASSERT_NE(rule, nullptr) << c.language;
        EXPECT_EQ(rule->pluralFormsAmount, c.amount) << c.language;
        for (const std::int64_t count : c.counts)
            EXPECT_EQ(rule->selector(count), c.form) << c.language << " " << count;
    }
    for (const char* unknown : {"", "pt", "EN", "zh"})
        EXPECT_EQ(LocalizationHelper::Find(unknown), nullptr) << unknown;
}

TEST(FormatText, ReadsEitherStyleAndNeverThrows) {
    EXPECT_EQ(Format("Task %1$s was not started due to %2$s", "A", "B"), "Task A was not started due to B");
    EXPECT_EQ(Format("%2$s, %1$s", "A", std::string("B")), "B, A");
    EXPECT_EQ(Format("/?hl=%1%&link=%2%", "en", 7), "/?hl=en&link=7");
    EXPECT_EQ(Format("%d days ago", 3L), "3 days ago");
    EXPECT_EQ(Format("%1$s", "100 %s and %1$s"), "100 %s and %1$s") << "values are no formats";
    EXPECT_EQ(Format("no directive", 1), "no directive");
    EXPECT_EQ(Format("%1$s and %2$s", 1), "%1$s and %2$s");
    EXPECT_EQ(Format("%1$s and %2$s", 1, 2, 3), "1 and 2") << "surplus values are ignored";
    EXPECT_EQ(Format("%d of them", 1, "surplus"), "1 of them");
    EXPECT_EQ(Format("100 %%", 1), "100 %");
    EXPECT_EQ(Format("50% of %1$s", 1), "50% of %1$s");
    EXPECT_EQ(Format("%", 1), "%");
    EXPECT_EQ(Format("%2$-5s|%1$03d%%", 7, "ab"), "ab   |007%");
}

TEST(FormatText, DirectivesThatEndedTheProcessOrFilledMemoryAreGivenBack) {
    for (const std::string text :
         {"%T%%$", "%1$999999999s", "%.99999d", "%99999999999$s", "%0$s", "%*d", "%|s|", "%1$n", "%1$s %", "%1$l"})
        EXPECT_EQ(Format(text, 5), text);
}

} // namespace
