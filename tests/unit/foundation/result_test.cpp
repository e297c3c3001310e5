// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <foundation/result.h>
#include <tests/unit/foundation/test_services.h>

#include <cerrno>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace ulk {
namespace {

TEST(Result, EveryCodeThatIsNotNegativeIsSuccess) {
    EXPECT_TRUE(ULK_SUCCEEDED(0));
    EXPECT_TRUE(ULK_SUCCEEDED(1));
    EXPECT_TRUE(ULK_SUCCEEDED(0x7FFFFFFF));
    EXPECT_FALSE(ULK_SUCCEEDED(-1));
    EXPECT_FALSE(ULK_SUCCEEDED(0x80000000u));
    EXPECT_TRUE(ULK_FAILED(eAccessDenied));
}

TEST(Result, TextsOfListedCodesAndOfTheirUnlistedNeighbours) {
    const struct {
        std::uint32_t code;
        const char* text;
    } rows[] = {
        {0x00000000u, "No error"},
        {0x00000001u, "False"},
        {0x00000002u, "Unknown result code"},
        {0x80000000u, "Unknown result code"},
        {0x80000001u, "Interface not supported"},
        {0x80000045u, "Access denied"},
        {0x80000049u, "Unknown result code"},
        {0x8000004Du, "Found"},
        {0x8000004Eu, "Unknown result code"},
        {0x8000004Fu, "Locked"},
        {0x80000063u, "Not ready"},
        {0x80000076u, "Meta information not found"},
        {0x80000221u, "Operation timeout"},
        {0x80000222u, "Unknown result code"},
        {0x80010100u, "Unspecified platform error"},
        {0x8001010Au, "Unknown platform result code"},
        {0x80010110u, "Cannot open an anonymous level security token"},
        {0x80010115u, "Memory mapping failed"},
        {0x80010120u, "Unknown platform result code"},
        {0x8001FFFFu, "Unknown platform result code"},
        {0x80020000u, "Unknown result code"},
        {0x80060005u, "Unknown result code"},
        {0xFFFFFFFFu, "Unknown result code"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ResultText(MakeResult(row.code)), row.text) << std::hex << row.code;
}

TEST(Result, ErrnoHasOneMapping) {
    const struct {
        int error;
        std::uint32_t code;
    } rows[] = {
        {0, 0},
        {EPERM, 0x80000045u},
        {EACCES, 0x80000045u},
        {ENOENT, 0x80010102u},
        {EIO, 0x80000059u},
        {EBADF, 0x80010101u},
        {ENOMEM, 0x80000041u},
        {EEXIST, 0x80010105u},
        {ENOTDIR, 0x80010103u},
        {EINVAL, 0x80000046u},
        {ENOSPC, 0x80000062u},
        {ENAMETOOLONG, 0x8000005Cu},
        {ELOOP, 0x8000006Au},
        {EOVERFLOW, 0x80000044u},
        {ESRCH, 0x80060003u},
        {ECONNREFUSED, 0x8006006Fu},
        {65535, 0x8006FFFFu},
        {65536, 0x80010100u},
        {std::numeric_limits<int>::max(), 0x80010100u},
        {-1, 0x80010100u},
        {std::numeric_limits<int>::min(), 0x80010100u},
    };
    for (const auto& row : rows)
        EXPECT_EQ(static_cast<std::uint32_t>(ResultFromErrno(row.error)), row.code) << row.error;
}

TEST(Check, ReportsAreLinesOfTheCheckFormat) {
    const test::Services services;
    const auto& tracer = services.tracer;

    const auto saying = [](const char* message) { return [message](auto& record) { record << message; }; };
    check::Report(tracer.Get(), "gui/app.cpp", 12, "Init( sl)", eNotReady, saying("Cannot initialize marnow"));
    check::Report(tracer.Get(), "a.cpp", 7, "f()", MakeResult(0xFFFFFFFFu), saying(""));
    check::Report(tracer.Get(), "a.cpp", 7, "f()", 0x1F, saying("!"));
    check::ReportFalse(tracer.Get(), "a.cpp", 8, "p != nullptr", saying(": no object"));

    EXPECT_EQ(tracer->lines,
              (std::vector<std::string>{
                  "gui/app.cpp:12(Init( sl)),(ULK_SUCCEEDED(_result)) failed: result = 0x80000063Cannot initialize "
                  "marnow",
                  "a.cpp:7(f()),(ULK_SUCCEEDED(_result)) failed: result = 0xffffffff",
                  "a.cpp:7(f()),(ULK_SUCCEEDED(_result)) failed: result = 0x1f!",
                  "a.cpp:8(p != nullptr),(bool) failed: result = false: no object"}));
    EXPECT_EQ(tracer->levels, (std::vector<int>{300, 300, 300, 300}));
}

TEST(Check, MacrosEvaluateOnceAndBuildTheMessageOnFailureOnly) {
    const test::Services services;
    int calls = 0;
    int messages = 0;
    const auto call = [&calls](result_t result) {
        ++calls;
        return result;
    };
    const auto message = [&messages] {
        ++messages;
        return std::string(" because");
    };

    EXPECT_EQ(ULK_CHECK_TRACE(services.tracer.Get(), call(sFalse), message()), sFalse);
    EXPECT_TRUE(ULK_CHECK_BOOL_TRACE(services.tracer.Get(), call(1) == 1, message()));
    EXPECT_NO_THROW(ULK_CHECK_THROW(call(sFalse), message()));
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(messages, 0);
    EXPECT_TRUE(services.tracer->lines.empty());

    EXPECT_EQ(ULK_CHECK_TRACE(services.tracer.Get(), call(eLocked), message()), eLocked);
    EXPECT_FALSE(ULK_CHECK_BOOL_TRACE(services.tracer.Get(), call(1) == 2, message()));
    EXPECT_EQ(calls, 5);
    ASSERT_EQ(services.tracer->lines.size(), 2u);
    EXPECT_NE(services.tracer->lines[0].find("(call(eLocked)),(ULK_SUCCEEDED(_result)) failed: result = 0x8000004f "
                                             "because"),
              std::string::npos);
    EXPECT_NE(services.tracer->lines[1].find("(call(1) == 2),(bool) failed: result = false because"),
              std::string::npos);

    EXPECT_EQ(ULK_CHECK_TRACE(nullptr, call(eLocked), ""), eLocked);
}

TEST(Check, MessageOfADisabledLevelIsNotBuilt) {
    const test::Services services;
    int messages = 0;
    const auto message = [&messages] {
        ++messages;
        return std::string(" because");
    };
    services.tracer->greatestLevel = level::Failure - 1;
    EXPECT_EQ(ULK_CHECK_TRACE(services.tracer.Get(), eLocked, message()), eLocked);
    EXPECT_FALSE(ULK_CHECK_BOOL_TRACE(services.tracer.Get(), false, message()));
    EXPECT_EQ(ULK_CHECK_TRACE(nullptr, eLocked, message()), eLocked);
    services.tracer->greatestLevel = level::Failure;
    services.tracer->hasBuffers = false;
    EXPECT_EQ(ULK_CHECK_TRACE(services.tracer.Get(), eLocked, message()), eLocked);
    EXPECT_EQ(messages, 0);
    EXPECT_TRUE(services.tracer->lines.empty());
}

TEST(Check, MessageThatThrowsCostsTheMessageOnly) {
    const test::Services services;
    const auto message = []() -> std::string { throw std::bad_alloc(); };
    EXPECT_EQ(ULK_CHECK_TRACE(services.tracer.Get(), eLocked, message()), eLocked);
    EXPECT_FALSE(ULK_CHECK_BOOL_TRACE(services.tracer.Get(), false, message()));
    ASSERT_EQ(services.tracer->lines.size(), 2u);
    EXPECT_TRUE(services.tracer->lines[0].ends_with("failed: result = 0x8000004f")) << services.tracer->lines[0];
    EXPECT_TRUE(services.tracer->lines[1].ends_with("failed: result = false")) << services.tracer->lines[1];
}

TEST(Check, ThrowCarriesPlaceCodeAndMessage) {
    const int line = __LINE__ + 2;
    try {
        ULK_CHECK_THROW(eNotFound, "kein Schl\xC3\xBCssel \xFF");
        FAIL() << "nothing thrown";
    } catch (const CheckResultFailedException& e) {
        EXPECT_STREQ(e.File(), __FILE__);
        EXPECT_EQ(e.Line(), line);
        EXPECT_EQ(e.Code(), eNotFound);
        EXPECT_EQ(e.Message(), u"kein Schl\u00FCssel ?");
    }
}

} // namespace
} // namespace ulk
