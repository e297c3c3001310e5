// SPDX-License-Identifier: GPL-2.0-or-later
// The plural rules against those of the Unicode consortium's locale data.
#include <tfs_common/language_rules.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <unicode/plurrule.h>
#include <unicode/unistr.h>
#include <vector>

namespace {

using tfs::localization::LanguageRule;
using tfs::localization::LocalizationHelper;

constexpr std::int32_t GreatestCount = 1000;
/// The categories in the order in which a language's forms are written.
const std::vector<std::string> Categories = {"zero", "one", "two", "few", "many", "other"};

/// Rank of the category of each count from 0 on.
std::vector<std::size_t> RanksOf(const char* language) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::PluralRules> rules(icu::PluralRules::forLocale(icu::Locale(language), status));
    if (U_FAILURE(status))
        throw std::runtime_error(u_errorName(status));
    std::vector<std::size_t> ranks;
    for (std::int32_t count = 0; count <= GreatestCount; ++count) {
        std::string category;
        rules->select(count).toUTF8String(category);
        const auto found = std::find(Categories.begin(), Categories.end(), category);
        ranks.push_back(static_cast<std::size_t>(found - Categories.begin()));
    }
    return ranks;
}

class PluralForms : public testing::TestWithParam<const char*> {};

TEST_P(PluralForms, AreThoseOfTheLocaleData) {
    const LanguageRule* rule = LocalizationHelper::Find(GetParam());
    ASSERT_NE(rule, nullptr);
    const std::vector<std::size_t> ranks = RanksOf(GetParam());
    const std::set<std::size_t> used(ranks.begin(), ranks.end());
    EXPECT_EQ(rule->pluralFormsAmount, used.size());
    for (std::int32_t count = 0; count <= GreatestCount; ++count) {
        const auto form = std::distance(used.begin(), used.find(ranks[static_cast<std::size_t>(count)]));
        EXPECT_EQ(rule->selector(count), static_cast<std::uint32_t>(form)) << count;
    }
}

INSTANTIATE_TEST_SUITE_P(Languages, PluralForms, testing::Values("en", "de", "fr", "ru", "ja", "zh-hans"),
                         [](const auto& language) {
                             std::string name = language.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

} // namespace
