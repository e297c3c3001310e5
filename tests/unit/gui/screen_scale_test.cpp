// SPDX-License-Identifier: GPL-2.0-or-later
// How large everything is drawn where the desktop asks for a size.
#include <gui/tools/screen_scale.h>

#include <gtest/gtest.h>
#include <ostream>

namespace tfs::tools {
namespace {

constexpr QSize Window(735, 540);

struct Row {
    const char* name;
    double wanted;
    QSize screen;
    int dpi;
};

std::ostream& operator<<(std::ostream& stream, const Row& row) { return stream << row.name; }

class SnappedDpiTest : public ::testing::TestWithParam<Row> {};

TEST_P(SnappedDpiTest, isAQuarterAtWhichTheWindowFits) {
    const Row& row = GetParam();
    EXPECT_EQ(SnappedDpi(row.wanted, row.screen, Window), row.dpi);
}

INSTANTIATE_TEST_SUITE_P(
    Wishes, SnappedDpiTest,
    ::testing::Values(Row{"100 percent", 96, {1920, 1080}, 96}, Row{"a hair above", 96.2, {1920, 1080}, 96},
                      Row{"half a step above", 108, {1920, 1080}, 120}, Row{"125 percent", 120, {1920, 1080}, 120},
                      Row{"150 percent", 144, {1920, 1080}, 144},
                      Row{"200 percent on a small screen", 192, {1920, 1079}, 168},
                      Row{"200 percent, just as high as the screen", 192, {1920, 1080}, 192},
                      Row{"300 percent", 288, {3840, 2160}, 288}, Row{"150 percent on a laptop", 144, {1366, 768}, 120},
                      Row{"an upright screen", 192, {1080, 1920}, 120},
                      Row{"a screen too small for the window", 144, {640, 480}, 96},
                      Row{"smaller than usual", 72, {1920, 1080}, 96}, Row{"no screen", 144, {}, 144}));

TEST(WantedDpiTest, isReadFromTheResources) {
    EXPECT_EQ(WantedDpi("Xft.dpi:\t144"), 144);
    EXPECT_EQ(WantedDpi("Xcursor.size:\t24\nXft.antialias:\t1\nXft.dpi:\t144.5\nXft.hinting:\t1\n"), 144.5);
    EXPECT_EQ(WantedDpi("Xft.dpi: 96 \r\n"), 96);
    EXPECT_EQ(WantedDpi("XTerm.Xft.dpi:\t192\nXft.dpi:\t120\n"), 120);
}

TEST(WantedDpiTest, isNothingWhereNothingUsableIsSaid) {
    for (const char* const resources :
         {"", "\n\n", "Xft.dpi", "Xft.dpi:", "Xft.dpi:\t\n", "Xft.dpi:\tlarge\n", "Xft.dpi:\t144x\n", "Xft.dpi:\t0\n",
          "Xft.dpi:\t-144\n", "Xft.dpi:\t1e9\n", "Xft.dpi:\tnan\n", "Xft.dpi2:\t144\n", "Xft.dpi.old:\t144\n"})
        EXPECT_EQ(WantedDpi(resources), std::nullopt) << resources;
}

} // namespace
} // namespace tfs::tools
