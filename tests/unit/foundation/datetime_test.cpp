// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <foundation/guid.h>
#include <tfs_utils/date_to_string_and_viceversa.h>

#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <time.h>

namespace ulk {
namespace {

constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

template <class Action>
types::string16_t TimeFailure(Action action) {
    try {
        action();
    } catch (const datetime::TimeSystemError& e) {
        EXPECT_EQ(e.Code(), eInvalidArgument);
        return e.Message();
    }
    ADD_FAILURE() << "nothing thrown";
    return {};
}

/// Runs with a zone of its own: five and a half hours east of Greenwich, no summer time.
class DateTime : public testing::Test {
protected:
    DateTime() {
        const char* zone = getenv("TZ");
        m_hadZone = zone != nullptr;
        m_zone = m_hadZone ? zone : "";
        setenv("TZ", "TST-5:30", 1);
        tzset();
    }
    ~DateTime() override {
        if (m_hadZone)
            setenv("TZ", m_zone.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

private:
    bool m_hadZone;
    std::string m_zone;
};

TEST_F(DateTime, ClocksConvertIntoEachOther) {
    EXPECT_EQ(datetime::TicksFromSeconds(0), 116444736000000000);
    EXPECT_EQ(datetime::TicksFromSeconds(86400) - datetime::TicksFromSeconds(0), 864000000000);
    EXPECT_EQ(datetime::TicksFromSeconds(-11644473600), 0);
    EXPECT_EQ(datetime::SecondsFromTicks(116444736000000000), 0);
    EXPECT_EQ(datetime::SecondsFromTicks(116444736009999999), 0);
    EXPECT_EQ(datetime::SecondsFromTicks(kGreatest), 910692730085);
    const std::int64_t now = std::time(nullptr);
    EXPECT_NEAR(static_cast<double>(datetime::SecondsFromTicks(datetime::NowTicks()) - now), 0, 2);
}

TEST_F(DateTime, FailuresNameTheValue) {
    EXPECT_EQ(datetime::SecondsFromTicks(0), -11644473600);
    EXPECT_EQ(TimeFailure([] { datetime::TicksFromSeconds(-11644473601); }),
              u"Invalid utc timestamp for posix platform -11644473601");
    EXPECT_EQ(TimeFailure([] { datetime::SecondsFromTicks(-1); }), u"Invalid utc timestamp for posix platform -1");
    EXPECT_EQ(TimeFailure([] { datetime::TicksFromSeconds(kGreatest); }),
              u"Invalid utc timestamp for posix platform 9223372036854775807");
    EXPECT_EQ(TimeFailure([] { datetime::TicksFromSeconds(kLeast); }),
              u"Invalid utc timestamp for posix platform -9223372036854775808");
    EXPECT_EQ(TimeFailure([] { datetime::ToUtc(kGreatest); }),
              u"Cannot represent time in broken down format 9223372036854775807");
    EXPECT_EQ(TimeFailure([] { datetime::ToLocal(kLeast); }),
              u"Cannot represent time in broken down format -9223372036854775808");
}

TEST_F(DateTime, BrokenDownFormsConvertBack) {
    for (const std::int64_t seconds : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{1700000000},
                                       std::int64_t{-86400}, std::int64_t{253402300799}}) {
        EXPECT_EQ(datetime::FromLocal(datetime::ToLocal(seconds)), seconds);
        EXPECT_EQ(datetime::FromUtc(datetime::ToUtc(seconds)), seconds);
        EXPECT_EQ(datetime::FromUtc(datetime::ToLocal(seconds)), seconds + 19800);
    }
    std::tm far{};
    far.tm_year = std::numeric_limits<int>::max();
    far.tm_mon = std::numeric_limits<int>::max();
    const std::string fields = "2147485547-2147483648-0 0:0:0";
    EXPECT_EQ(TimeFailure([&] { datetime::FromLocal(far); }),
              types::string16_t(u"Cannot convert time to calendar representation ") + text::ToUtf16Lossy(fields));
    EXPECT_EQ(TimeFailure([&] { datetime::FromUtc(far); }),
              types::string16_t(u"Cannot translate time to UTC: ") + text::ToUtf16Lossy(fields));
}

TEST_F(DateTime, TextOfDates) {
    EXPECT_EQ(tfs::SecondsToString(0), "1970-01-01 05:30:00");
    EXPECT_EQ(tfs::SecondsToString(1700000000, "%d.%m.%Y %H:%M"), "15.11.2023 03:43");
    EXPECT_EQ(tfs::TicksToString(116444736000000000 + 9999999), "1970-01-01 05:30:00");
    EXPECT_EQ(tfs::DateToString(datetime::ToUtc(0)), "1970-01-01 00:00:00");
    EXPECT_THROW(tfs::TicksToString(-1), datetime::TimeSystemError);
}

TEST_F(DateTime, FormatsAreBounded) {
    const std::tm time = datetime::ToUtc(0);
    EXPECT_EQ(tfs::DateToString(time, ""), "");
    const std::string longest(2047, 'x');
    EXPECT_EQ(tfs::DateToString(time, longest.c_str()), longest);
    for (const std::size_t length : {2048u, 2049u, 100000u}) {
        try {
            tfs::DateToString(time, std::string(length, 'x').c_str());
            ADD_FAILURE() << "nothing thrown for " << length;
        } catch (const std::out_of_range& e) {
            EXPECT_STREQ(e.what(), "Format specification is too long");
        }
    }
    // What outgrows the buffer is dropped as a whole.
    std::string growing;
    while (growing.size() + 2 <= 2047)
        growing += "%F";
    EXPECT_EQ(tfs::DateToString(time, growing.c_str()), "");
    std::string dates;
    for (int i = 0; i < 300; ++i)
        dates += "%F";
    EXPECT_EQ(tfs::DateToString(time, (dates + std::string(1095, 'x')).c_str()).size(), 4095u);
    EXPECT_EQ(tfs::DateToString(time, (dates + std::string(1096, 'x')).c_str()), "");
}

TEST_F(DateTime, FarDatesAreTextOrAFailureThatNamesThem) {
    EXPECT_EQ(tfs::TicksToString(0), tfs::SecondsToString(-11644473600));
    EXPECT_EQ(TimeFailure([] { tfs::TicksToString(-1); }), u"Invalid utc timestamp for posix platform -1");
    EXPECT_EQ(TimeFailure([] { tfs::TicksToString(kLeast); }),
              u"Invalid utc timestamp for posix platform -9223372036854775808");
    EXPECT_EQ(tfs::SecondsToString(-11676096000), "1600-01-01 05:30:00");
    EXPECT_EQ(tfs::SecondsToString(253402281000), "10000-01-01 00:00:00");
    EXPECT_EQ(tfs::TicksToString(kGreatest), "30828-09-14 08:18:05");
    EXPECT_EQ(TimeFailure([] { tfs::SecondsToString(kGreatest); }),
              u"Cannot represent time in broken down format 9223372036854775807");

    const auto old = tfs::StringToDate("1600-02-29 23:59:59");
    ASSERT_TRUE(old);
    EXPECT_EQ(datetime::FromUtc(*old), -11670912001);
    EXPECT_EQ(tfs::DateToString(*old), "1600-02-29 23:59:59");
    EXPECT_FALSE(tfs::StringToDate("1500-02-29 00:00:00"));
    EXPECT_FALSE(tfs::StringToDate("10000-01-01 00:00:00"));
    EXPECT_FALSE(tfs::StringToDate("-1-01-01 00:00:00"));
}

TEST_F(DateTime, ABrokenDownTimeOfNonsenseIsStillText) {
    std::tm nonsense{};
    nonsense.tm_year = std::numeric_limits<int>::max();
    nonsense.tm_mon = 99;
    nonsense.tm_mday = -1;
    nonsense.tm_wday = -7;
    nonsense.tm_hour = std::numeric_limits<int>::min();
    EXPECT_NE(tfs::DateToString(nonsense), "");
    EXPECT_EQ(tfs::DateToString(nonsense, "%b %a"), "? ?");
}

TEST_F(DateTime, TextIsReadBack) {
    const auto time = tfs::StringToDate("2024-02-29 23:59:58");
    ASSERT_TRUE(time);
    EXPECT_EQ(tfs::DateToString(*time), "2024-02-29 23:59:58");
    EXPECT_EQ(datetime::FromLocal(*time), 1709231398);
    const auto day = tfs::StringToDate("03.2024", "%m.%Y");
    ASSERT_TRUE(day);
    EXPECT_EQ(tfs::DateToString(*day), "2024-03-01 00:00:00");

    for (const char* text : {"", "2024", "2023-02-29 00:00:00", "2024-04-31 00:00:00", "2024-01-01 24:00:00",
                             "2024-01-01 23:59:60", "2024-13-01 00:00:00", "2024-01-01 00:00:00x", "x"})
        EXPECT_FALSE(tfs::StringToDate(text)) << text;
    EXPECT_FALSE(tfs::StringToDate(std::string("2024-01-01 00:00:00\0", 20)));
    EXPECT_THROW(tfs::StringToDate("", std::string(2048, 'x').c_str()), std::out_of_range);
}

TEST(Guid, PrintsItsBytesAndIsReadBack) {
    Guid guid;
    EXPECT_EQ(GuidToString(guid), "00000000-0000-0000-0000-000000000000");
    for (std::size_t i = 0; i < guid.bytes.size(); ++i)
        guid.bytes[i] = static_cast<std::uint8_t>(i * 0x11);
    const std::string text = "00112233-4455-6677-8899-AABBCCDDEEFF";
    EXPECT_EQ(GuidToString(guid), text);
    EXPECT_EQ(GuidFromString(text), guid);
    EXPECT_EQ(GuidFromString("00112233-4455-6677-8899-aabbccddeeff"), guid);
}

TEST(Guid, AnythingElseIsInvalid) {
    for (const char* text : {
             "",
             "00112233-4455-6677-8899-AABBCCDDEEF",
             "00112233-4455-6677-8899-AABBCCDDEEFF0",
             "00112233445566778899AABBCCDDEEFF",
             "{00112233-4455-6677-8899-AABBCCDDEEFF}",
             "00112233-4455-6677-8899+AABBCCDDEEFF",
             "0011223-34455-6677-8899-AABBCCDDEEFF",
             "0x112233-4455-6677-8899-AABBCCDDEEFF",
             "-0112233-4455-6677-8899-AABBCCDDEEFF",
             " 0112233-4455-6677-8899-AABBCCDDEEFF",
             "00112233-4455-6677-8899-AABBCCDDEEFG",
         }) {
        try {
            GuidFromString(text);
            ADD_FAILURE() << text;
        } catch (const std::invalid_argument& e) {
            EXPECT_STREQ(e.what(), "Invalid GUID.");
        }
    }
}

} // namespace
} // namespace ulk
