// SPDX-License-Identifier: GPL-2.0-or-later
// Tests of what concerns a whole process: signals, masks, event loops.
#pragma once

#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tfs::gui::test {

/// Each body runs in a fresh process by EXPECT_EXIT and ends it with Passed. Qt's two event dispatchers take turns as
/// the parameter.
class ProcessTest : public ::testing::TestWithParam<const char*> {
protected:
    static constexpr int Passed = 7;
    /// What ends a body that hangs, by SIGALRM.
    static constexpr unsigned DeadlineSeconds = 30;

    ProcessTest() { ::testing::FLAGS_gtest_death_test_style = "threadsafe"; }

    /// For the first line of a body, before there is an application.
    static void Begin() {
        if (GetParam() == std::string("unix"))
            ::setenv("QT_NO_GLIB", "1", 1);
        ::alarm(DeadlineSeconds);
    }
    static void Check(bool condition, const char* text) {
        if (condition)
            return;
        std::fprintf(stderr, "failed: %s\n", text);
        ::_exit(1);
    }

    int m_argc = 1;
    char m_name[5] = "test";
    char* m_argv[2] = {m_name, nullptr};
};

inline auto Dispatchers() { return ::testing::Values("glib", "unix"); }

} // namespace tfs::gui::test

#define CHECK(condition) Check((condition), #condition)
