// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/variant.h>
#include <foundation/datetime.h>

#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <time.h>

namespace ulk::types {
namespace {

constexpr std::int64_t kLeast64 = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kGreatest64 = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t kGreatestU64 = std::numeric_limits<std::uint64_t>::max();

TEST(Variant, EachKindHasItsTagTextAndNumber) {
    const struct {
        variant_t value;
        std::uint32_t tag;
        const char* text;
        bool isInteger;
        std::int64_t number;
    } rows[] = {
        {variant_t(true), 2, "yes", false, 0},
        {variant_t(false), 2, "no", false, 0},
        {variant_t(std::numeric_limits<std::int32_t>::min()), 5, "-2147483648", true, -2147483648},
        {variant_t(kLeast64), 6, "-9223372036854775808", true, kLeast64},
        {variant_t(std::uint32_t{4294967295}), 9, "4294967295", true, 4294967295},
        {variant_t(std::uint64_t{kGreatestU64}), 10, "18446744073709551615", false, 0},
        {variant_t(static_cast<std::uint64_t>(kGreatest64)), 10, "9223372036854775807", true, kGreatest64},
        {variant_t(""), 14, "", false, 0},
        {variant_t("12"), 14, "12", false, 0},
        {variant_t(std::string("\xC3\xA4 \xFF\xC3")), 14, "\xC3\xA4 ??", false, 0},
        {variant_t(string16_t(u"\u20AC \xD800")), 15, "\xE2\x82\xAC ?", false, 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(static_cast<std::uint32_t>(row.value.tag()), row.tag) << row.text;
        EXPECT_EQ(VariantToString(row.value), row.text);
        std::int64_t number = 77;
        EXPECT_EQ(VariantToInteger(row.value, number), row.isInteger) << row.text;
        EXPECT_EQ(number, row.isInteger ? row.number : 77) << row.text;
    }
}

TEST(Variant, WhatIsNoScalarHasNoText) {
    EXPECT_EQ(static_cast<std::uint32_t>(variant_t().tag()), 0u);
    const variant_t vector(variant_t::Vector{variant_t(true), variant_t("x")});
    EXPECT_EQ(static_cast<std::uint32_t>(vector.tag()), 0x1007u);
    for (const variant_t& value : {variant_t(), vector, variant_t(variant_t::Vector())}) {
        try {
            VariantToString(value);
            ADD_FAILURE() << "nothing thrown";
        } catch (const std::invalid_argument& e) {
            EXPECT_STREQ(e.what(), "Unknown type in VariantToString");
        }
    }
}

TEST(Variant, DatesAreTextOfLocalTime) {
    const char* before = getenv("TZ");
    const std::string zone = before ? before : "";
    setenv("TZ", "TST+3", 1);
    const variant_t epoch(FileTime{116444736000000000});
    EXPECT_EQ(static_cast<std::uint32_t>(epoch.tag()), 12u);
    EXPECT_EQ(VariantToString(epoch), "1969-12-31 21:00:00");
    EXPECT_EQ(VariantToString(variant_t(FileTime{133444736009999999})), "2023-11-14 19:13:20");
    EXPECT_EQ(VariantToString(variant_t(FileTime{0})), "1600-12-31 21:00:00");
    EXPECT_THROW(VariantToString(variant_t(FileTime{-1})), datetime::TimeSystemError);
    before ? setenv("TZ", zone.c_str(), 1) : unsetenv("TZ");
    tzset();
}

TEST(Variant, AsIsNullForAnotherTag) {
    const variant_t value(std::uint32_t{5});
    EXPECT_EQ(value.As<std::int32_t>(), nullptr);
    ASSERT_NE(value.As<std::uint32_t>(), nullptr);
    EXPECT_NE(value, variant_t(std::int32_t{5}));
    EXPECT_EQ(value, variant_t(std::uint32_t{5}));
}

struct Apples {
    static constexpr std::uint32_t TypeNumber = 1;
    int count = 0;
};
struct Pears {
    static constexpr std::uint32_t TypeNumber = 2;
    std::string name;
};

TEST(AnyStruct, YieldsTheStructureOfItsOwnTypeOnly) {
    any_struct_t holder;
    EXPECT_TRUE(holder.empty());
    EXPECT_EQ(holder.Get<Apples>(), nullptr);
    holder.Set(Apples{3});
    const any_struct_t copy = holder;
    holder.Set(Pears{"conference"});
    EXPECT_EQ(holder.Get<Apples>(), nullptr);
    ASSERT_NE(holder.Get<Pears>(), nullptr);
    EXPECT_EQ(holder.Get<Pears>()->name, "conference");
    ASSERT_NE(copy.Get<Apples>(), nullptr);
    EXPECT_EQ(copy.Get<Apples>()->count, 3);
}

} // namespace
} // namespace ulk::types
