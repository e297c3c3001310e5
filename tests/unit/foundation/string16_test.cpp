// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/string16.h>
#include <tests/unit/foundation/test_services.h>

#include <gtest/gtest.h>
#include <new>
#include <random>
#include <stdexcept>
#include <string>

namespace ulk::types {
namespace {

template <class Char>
void ExpectSame(const basic_string_t<Char>& actual, const std::basic_string<Char>& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    ASSERT_TRUE(std::basic_string_view<Char>(actual) == expected);
    ASSERT_EQ(actual.c_str()[actual.size()], Char()) << "not terminated";
    ASSERT_LE(actual.size(), actual.capacity());
}

// Every operation against the standard's string, with sizes round the inline buffer and several doublings.
template <class Char>
void CompareUnderRandomOperations(unsigned seed) {
    std::mt19937 random(seed);
    const auto below = [&random](std::size_t bound) {
        return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random);
    };
    const auto letter = [&] { return static_cast<Char>('a' + below(3)); };
    const auto text = [&] {
        std::basic_string<Char> result;
        for (std::size_t left = below(below(8) == 0 ? 100 : 12); left > 0; --left)
            result += letter();
        return result;
    };
    basic_string_t<Char> actual;
    std::basic_string<Char> expected;
    basic_string_t<Char> otherActual;
    std::basic_string<Char> otherExpected;
    for (int step = 0; step < 20000; ++step) {
        const std::size_t operation = below(15);
        const std::size_t at = below(expected.size() + 1);
        switch (operation) {
        case 0: {
            const auto tail = text();
            actual.append(tail);
            expected.append(tail);
            break;
        }
        case 1: {
            const std::size_t count = below(20);
            const Char c = letter();
            actual.append(count, c);
            expected.append(count, c);
            break;
        }
        case 2: {
            const Char c = letter();
            actual.push_back(c);
            expected.push_back(c);
            break;
        }
        case 3: { // a part of itself
            const std::size_t count = below(expected.size() - at + 1);
            actual.append(std::basic_string_view<Char>(actual).substr(at, count));
            expected.append(std::basic_string<Char>(expected, at, count));
            break;
        }
        case 4: {
            const std::size_t size = below(60);
            const Char c = letter();
            actual.resize(size, c);
            expected.resize(size, c);
            break;
        }
        case 5:
            actual.clear();
            expected.clear();
            break;
        case 6:
            otherActual = actual;
            otherExpected = expected;
            break;
        case 7: {
            basic_string_t<Char> copy(otherActual);
            actual = std::move(copy);
            expected = otherExpected;
            break;
        }
        case 8:
            actual.swap(otherActual);
            expected.swap(otherExpected);
            break;
        case 9:
            actual.swap(actual);
            actual = *&actual;
            break;
        case 10:
            actual = actual.substr(at, below(50));
            expected.resize(at + actual.size());
            expected.erase(0, at);
            break;
        case 11: {
            const auto sought = text().substr(0, 2);
            ASSERT_EQ(actual.find(sought, at), expected.find(sought, at));
            const Char c = letter();
            ASSERT_EQ(actual.rfind(c, at), expected.rfind(c, at));
            ASSERT_EQ(actual < otherActual, expected < otherExpected);
            ASSERT_EQ(actual == otherActual, expected == otherExpected);
            break;
        }
        case 12: {
            const std::size_t size = below(20);
            const Char c = letter();
            actual.resize_extra_at(at, size, c);
            expected.resize(at);
            expected.append(size, c);
            break;
        }
        case 13:
            actual.reserve_extra(below(40));
            break;
        default:
            if (!expected.empty() && at < expected.size()) {
                const Char c = letter();
                actual[at] = c;
                expected[at] = c;
                ASSERT_EQ(actual.back(), expected.back());
            }
            break;
        }
        ExpectSame(actual, expected);
        ExpectSame(otherActual, otherExpected);
        if (testing::Test::HasFatalFailure()) {
            ADD_FAILURE() << "step " << step << ", operation " << operation;
            return;
        }
        if (expected.size() > 400) { // long enough; the interesting sizes are below
            actual.clear();
            expected.clear();
        }
    }
}

TEST(String16, BehavesLikeTheStandardsStringUnderRandomOperations) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
        SCOPED_TRACE(seed);
        CompareUnderRandomOperations<char16_t>(seed);
        CompareUnderRandomOperations<char>(seed);
    }
}

TEST(String16, GrowsToTheLargerOfTwiceTheCapacityAndTheNeed) {
    string16_t wide;
    EXPECT_EQ(wide.capacity(), 7u);
    wide.append(u"1234567");
    EXPECT_EQ(wide.capacity(), 7u);
    wide.push_back(u'8');
    EXPECT_EQ(wide.capacity(), 14u);
    wide.append(90, u'x');
    EXPECT_EQ(wide.capacity(), 98u);

    string8_t narrow;
    EXPECT_EQ(narrow.capacity(), 15u);
    narrow.reserve_extra(15);
    EXPECT_EQ(narrow.capacity(), 15u);
    narrow.reserve_extra(16);
    EXPECT_EQ(narrow.capacity(), 30u);
    string8_t large;
    large.reserve_extra(31);
    EXPECT_EQ(large.capacity(), 31u);
}

TEST(String16, RequestsBeyondTheLargestSizeChangeNothing) {
    string16_t text(u"abc");
    const auto expectLengthError = [&text](auto&& action, const char* what) {
        try {
            action();
            ADD_FAILURE() << "nothing thrown";
        } catch (const std::length_error& e) {
            EXPECT_STREQ(e.what(), what);
        }
        EXPECT_EQ(text, u"abc");
    };
    const char* const reserve = "ulk::basic_string_t::reserve_extra()";
    const char* const resize = "ulk::basic_string_t::resize_extra_at";
    expectLengthError([&] { text.reserve_extra(string16_t::max_size() - 2); }, reserve);
    expectLengthError([&] { text.reserve_extra(string16_t::npos); }, reserve);
    expectLengthError([&] { text.resize(string16_t::max_size() + 1); }, resize);
    expectLengthError([&] { text.resize_extra_at(string16_t::npos, 2, u' '); }, resize);
    expectLengthError([&] { text.resize_extra_at(2, string16_t::npos, u' '); }, resize);
    expectLengthError([&] { text.append(string16_t::npos, u' '); }, resize);
}

TEST(String16, MemoryComesFromTheAllocatorAndGoesBackToIt) {
    const test::Services services;
    const auto& allocator = services.allocator;
    {
        string16_t text(allocator.Get());
        text.append(u"inline");
        EXPECT_EQ(allocator->taken, 0);
        text.append(u" no longer inline");
        EXPECT_EQ(allocator->Outstanding(), 1);
        text.append(std::u16string(100, u'x'));
        EXPECT_EQ(allocator->Outstanding(), 1) << "the outgrown buffer was kept";
        text.append(500, u'x');
        EXPECT_EQ(allocator->Outstanding(), 1) << "the outgrown buffer was kept";

        const string16_t copy(text);
        EXPECT_EQ(allocator->Outstanding(), 1) << "a copy shares the allocator";
        string16_t moved(std::move(text));
        EXPECT_EQ(moved, copy);
        EXPECT_EQ(allocator->Outstanding(), 1);
        moved = string16_t(u"something else that is rather long");
        EXPECT_EQ(allocator->Outstanding(), 0);
    }
    string16_t text(allocator.Get());
    text.append(u"kept");
    allocator->isExhausted = true;
    EXPECT_THROW(text.append(100, u'x'), std::bad_alloc);
    EXPECT_THROW(text.append(u"another long tail"), std::bad_alloc);
    EXPECT_EQ(text, u"kept");
}

TEST(String16, NullTextIsEmpty) {
    EXPECT_TRUE(string16_t(static_cast<const char16_t*>(nullptr)).empty());
    EXPECT_EQ(std::hash<string16_t>()(string16_t(u"a")), std::hash<std::u16string_view>()(u"a"));
}

} // namespace
} // namespace ulk::types
