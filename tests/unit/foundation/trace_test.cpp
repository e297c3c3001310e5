// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/trace.h>
#include <tests/unit/foundation/test_services.h>

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace ulk {
namespace {

TEST(TraceRecord, TakesEveryKindOfValue) {
    const test::Services services;
    {
        trace::Record record(services.tracer.Get(), level::Notable);
        ASSERT_TRUE(record);
        record << "text " << std::string("string ") << std::string_view("view ") << u"\u00E4 "
               << types::string16_t(u"\U0001F600") << ' ' << -1 << ' ' << 4000000000u << ' '
               << std::numeric_limits<std::int64_t>::min() << ' ' << std::numeric_limits<std::uint64_t>::max() << ' '
               << true << ' ' << 0.1 << ' ' << 1234567.0 << ' ' << static_cast<const char*>(nullptr)
               << static_cast<const char16_t*>(nullptr);
    }
    ASSERT_EQ(services.tracer->lines.size(), 1u);
    EXPECT_EQ(services.tracer->lines[0],
              "text string view \xC3\xA4 \xF0\x9F\x98\x80 -1 4000000000 -9223372036854775808 18446744073709551615 1 "
              "0.1 1.23457e+06 (null)(null)");
    EXPECT_EQ(services.tracer->levels[0], 700);
    EXPECT_EQ(services.tracer->sizesAsked[0], 512u);
}

TEST(TraceRecord, AddressesAndHexadecimalNumbers) {
    const test::Services services;
    const void* address = reinterpret_cast<const void*>(std::uintptr_t{0xDEAD0BEEF});
    ULK_TRACE(services.tracer.Get(), level::Notable)
        << address << ' ' << static_cast<int*>(nullptr) << ' ' << trace::Hex(0x7FA0B) << ' ' << trace::Hex(-1) << ' '
        << trace::Hex(std::numeric_limits<std::uint64_t>::max()) << ' ' << 255;
    EXPECT_EQ(services.tracer->lines, std::vector<std::string>{"0xdead0beef 0x0 7fa0b ffffffff ffffffffffffffff 255"});
}

TEST(TraceRecord, NothingIsFormattedWhereTheRecordIsNull) {
    const test::Services services;
    int evaluated = 0;
    const auto costly = [&evaluated] { return ++evaluated; };

    services.tracer->greatestLevel = level::Failure;
    ULK_TRACE(services.tracer.Get(), level::Detail) << costly();
    EXPECT_TRUE(services.tracer->sizesAsked.empty()) << "a buffer was asked for before the level was tested";

    services.tracer->hasBuffers = false;
    ULK_TRACE(services.tracer.Get(), level::Failure) << costly();
    EXPECT_EQ(services.tracer->sizesAsked.size(), 1u);

    ULK_TRACE(nullptr, level::Failure) << costly();
    trace::Record(nullptr, level::Failure) << "goes nowhere" << 1 << 1.0 << u"x";

    EXPECT_EQ(evaluated, 0);
    EXPECT_TRUE(services.tracer->lines.empty());
}

TEST(TraceRecord, CloseHandsTheLineOverOnce) {
    const test::Services services;
    {
        trace::Record record(services.tracer.Get(), level::Failure);
        record << "first";
        record.Close();
        EXPECT_FALSE(record);
        EXPECT_EQ(services.tracer->lines, std::vector<std::string>{"first"});
        record << " too late";
        record.Close();
    }
    EXPECT_EQ(services.tracer->lines, std::vector<std::string>{"first"});
}

TEST(TraceRecord, TextThatDoesNotDecodeIsShownWithQuestionMarks) {
    const test::Services services;
    ULK_TRACE(services.tracer.Get(), level::Failure) << types::string16_t(u"a\xD800z");
    EXPECT_EQ(services.tracer->lines, std::vector<std::string>{"a?z"});
}

} // namespace
} // namespace ulk
