// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/string16.h>

#include <clocale>
#include <gtest/gtest.h>
#include <iconv.h>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <typeinfo>

namespace ulk::text {
namespace {

using types::string16_t;

/// The C library's converter, as a second opinion. Nothing where it refuses the text.
template <class To, class From>
std::optional<To> Iconv(const char* toCode, const char* fromCode, From from) {
    const iconv_t converter = iconv_open(toCode, fromCode);
    if (converter == reinterpret_cast<iconv_t>(-1))
        throw std::runtime_error("iconv_open");
    To to(from.size() * 4 + 4, typename To::value_type());
    char* in = reinterpret_cast<char*>(from.data());
    std::size_t inLeft = from.size() * sizeof(typename From::value_type);
    char* out = reinterpret_cast<char*>(to.data());
    std::size_t outLeft = to.size() * sizeof(typename To::value_type);
    const bool converted = iconv(converter, &in, &inLeft, &out, &outLeft) != static_cast<std::size_t>(-1);
    iconv_close(converter);
    if (!converted || inLeft != 0)
        return std::nullopt;
    to.resize(to.size() - outLeft / sizeof(typename To::value_type));
    return to;
}

std::optional<std::string> CastOrNothing(const std::u16string& from) {
    try {
        return Cast<std::string>(from);
    } catch (const std::bad_cast&) {
        return std::nullopt;
    }
}

std::optional<std::u16string> CastOrNothing(const std::string& from) {
    try {
        return Cast<std::u16string>(from);
    } catch (const std::bad_cast&) {
        return std::nullopt;
    }
}

TEST(Cast, EveryCodePointMakesTheRoundTrip) {
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        if (c == 0xD800)
            c = 0xE000;
        std::u16string wide;
        if (c > 0xFFFF)
            wide = {static_cast<char16_t>(0xD7C0 + (c >> 10)), static_cast<char16_t>(0xDC00 + (c & 0x3FF))};
        else
            wide = {static_cast<char16_t>(c)};
        const std::string narrow = Cast<std::string>(wide);
        ASSERT_EQ(narrow.size(), c < 0x80 ? 1u : c < 0x800 ? 2u : c < 0x10000 ? 3u : 4u) << std::hex << +c;
        ASSERT_EQ(Cast<std::u16string>(narrow), wide) << std::hex << +c;
    }
}

TEST(Cast, EverySurrogateWithoutItsPartnerFails) {
    for (char32_t unit = 0xD800; unit <= 0xDFFF; ++unit) {
        const auto c = static_cast<char16_t>(unit);
        const bool isHigh = unit < 0xDC00;
        for (const std::u16string& text :
             {std::u16string{c}, std::u16string{c, u'a'}, std::u16string{u'a', c}, std::u16string{u'a', c, u'b'},
              std::u16string{c, c}, std::u16string{u'\xDC00', c}, std::u16string{c, u'\xD800'}}) {
            std::string out = "untouched";
            ASSERT_EQ(Convert(std::u16string_view(text), out), eInvalidArgument) << std::hex << +unit;
            ASSERT_EQ(out, "untouched");
            ASSERT_THROW(Cast<std::string>(text), std::bad_cast);
        }
        const std::u16string pair = isHigh ? std::u16string{c, u'\xDFFF'} : std::u16string{u'\xDBFF', c};
        ASSERT_EQ(Cast<std::string>(pair).size(), 4u) << std::hex << +unit;
    }
}

TEST(Cast, BrokenUtf8Fails) {
    const std::string broken[] = {
        "\x80",             // a continuation byte without its lead
        "\xC3",             // cut
        "a\xE2\x82",        // cut
        "\xF0\x9F\x98",     // cut
        "\xC0\xAF",         // overlong
        "\xE0\x80\xAF",     // overlong
        "\xF0\x80\x80\xAF", // overlong
        "\xED\xA0\x80",     // a surrogate
        "\xF4\x90\x80\x80", // above 0x10FFFF
        "\xF8\x88\x80\x80\x80",
        "\xFE",
        "\xC3(",
    };
    for (const std::string& text : broken) {
        EXPECT_THROW(Cast<string16_t>(text), std::bad_cast) << testing::PrintToString(text);
        EXPECT_THROW(Cast<std::u16string>(text), std::bad_cast) << testing::PrintToString(text);
    }
    EXPECT_EQ(Cast<string16_t>(std::string("a\0b", 3)), string16_t(u"a\0b", 3));
    EXPECT_EQ(Cast<std::string>(string16_t()), "");
}

TEST(Cast, TheFrameworksNarrowStringHoldsUtf8) {
    const std::u16string wide = u"a longer text than fits inline: \u00E4\U0001F600";
    const auto narrow = Cast<types::string8_t>(wide);
    EXPECT_EQ(std::string_view(narrow), Cast<std::string>(wide));
    EXPECT_EQ(Cast<string16_t>(narrow), string16_t(wide));
    EXPECT_TRUE(Cast<types::string8_t>(std::u16string_view()).empty());
    EXPECT_THROW(Cast<types::string8_t>(u"a\xD800"), std::bad_cast);
    types::string8_t kept("as it was");
    EXPECT_EQ(Convert(std::u16string_view(u"\xDC00"), kept), eInvalidArgument);
    EXPECT_EQ(kept, "as it was");
}

TEST(Cast, AgreesWithTheSystemsConverterOnRandomText) {
    std::mt19937 random(7);
    const auto pick = [&random](unsigned bound) { return static_cast<unsigned>(random() % bound); };
    for (int round = 0; round < 20000; ++round) {
        std::string narrow;
        for (unsigned left = pick(6); left > 0; --left) {
            static const char* const kPieces[] = {"a", "\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xED\x9F\xBF"};
            narrow += pick(3) != 0 ? std::string(kPieces[pick(5)]) : std::string(1, static_cast<char>(pick(256)));
        }
        ASSERT_EQ(CastOrNothing(narrow), Iconv<std::u16string>("UTF-16LE", "UTF-8", narrow))
            << testing::PrintToString(narrow);

        std::u16string wide;
        for (unsigned left = pick(6); left > 0; --left)
            wide += static_cast<char16_t>(pick(2) != 0 ? 0xD700 + pick(0xA00) : pick(0x10000));
        ASSERT_EQ(CastOrNothing(wide), Iconv<std::string>("UTF-8", "UTF-16LE", wide)) << testing::PrintToString(wide);
    }
}

TEST(Cast, ForDisplayEachByteOrUnitThatDoesNotDecodeIsAQuestionMark) {
    EXPECT_EQ(ToUtf8Lossy(u"a\xD83D\xDE00z"), "a\xF0\x9F\x98\x80z");
    EXPECT_EQ(ToUtf8Lossy(u"\xDC00 \xD800"), "? ?");
    EXPECT_EQ(ToUtf16Lossy("\xF0\x9F\x98\x80"), u"\xD83D\xDE00");
    EXPECT_EQ(ToUtf16Lossy("a\xFFz"), u"a?z");
    EXPECT_EQ(ToUtf16Lossy("\xE2\x82"
                           "a"),
              u"??a");
    EXPECT_EQ(ToUtf16Lossy("\xED\xA0\x80"), u"???");
}

/// Sets the locale for a test; the texts of other tests don't depend on it.
class LocaleText : public testing::Test {
protected:
    ~LocaleText() override { std::setlocale(LC_ALL, "C"); }
};

TEST_F(LocaleText, GoesCharacterByCharacterAndKeepsOneUnitAtMost) {
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    EXPECT_EQ(FromLocale("a\xC3\xA4\xE2\x82\xAC"), u"a\u00E4\u20AC");
    EXPECT_EQ(FromLocale("a\xF0\x9F\x98\x80z"), u"az");
    EXPECT_EQ(FromLocale(std::string("a\0b", 3)), string16_t(u"a\0b", 3));
    EXPECT_EQ(ToLocale(u"a\u00E4\u20AC"), "a\xC3\xA4\xE2\x82\xAC");
    EXPECT_EQ(ToLocale(u"a\U0001F600z"), "az");
    EXPECT_THROW(FromLocale("\xFF"), std::bad_cast);
    EXPECT_THROW(FromLocale("\xC3"), std::bad_cast);
    EXPECT_THROW(ToLocale(u"\xD800"), std::bad_cast);
    EXPECT_EQ(ToLocaleLossy("a\xC3\xA4\xF0\x9F\x98\x80z"), "a\xC3\xA4\xF0\x9F\x98\x80z");
    EXPECT_EQ(ToLocaleLossy("\xFF\xC3"), "??");

    ASSERT_NE(std::setlocale(LC_ALL, "C"), nullptr);
    EXPECT_EQ(ToLocale(u"plain"), "plain");
    EXPECT_THROW(ToLocale(u"\u20AC"), std::bad_cast);
    EXPECT_EQ(ToLocaleLossy("a\xE2\x82\xAC\xF0\x9F\x98\x80z\xFF"), "a??z?");
}

} // namespace
} // namespace ulk::text
