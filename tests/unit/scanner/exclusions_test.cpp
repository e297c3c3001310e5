// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/exclusions.h>
#include <service/scan/scan_run.h>

#include <gtest/gtest.h>

namespace tfs::service::scan {
namespace {

TEST(Exclusions, MasksMatchWholeComponents) {
    struct Row {
        const char* mask;
        const char* path;
        bool excluded;
    };
    const Row rows[] = {
        {"*.iso", "/data/a.iso", true},
        {"*.iso", "/data/a.iso.txt", false},
        {"*.iso", "/data/a.ISO", false},
        {"node_modules", "/a/node_modules/b/c", true},
        {"modules", "/a/node_modules/b", false},
        {".*", "/home/.cache/x", true},
        {"*", "/a", true},
        {"?", "/ab/\xc3\xa4/x", true}, // one character of two bytes
        {"?", "/ab/\xff/x", true},     // one byte that is no character
        {"a[0-9]", "/a7/x", true},
        {"a[!0-9]", "/a7/x", false},
        {"[]x]", "/]/f", true},
        {"a\\*b", "/a*b", true},
        {"a\\*b", "/axb", false},
        {"a\nb", "/d/a\nb", true},
        {"/home/*/tmp", "/home/u/tmp/deep/file", true},
        {"/home/*/tmp", "/home/u/v/tmp", false}, // a star is no slash
        {"/home/*/tmp", "/x/home/u/tmp", false},
        {"/home/*/tmp/", "/home/u/tmp", true},
        {"/home//u", "/home/u/x", true},
        {"/", "/anything", true},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(CheckMask(row.mask), "") << row.mask;
        EXPECT_EQ(Exclusions({}, {row.mask}).ExcludesAnyOf(row.path), row.excluded) << row.mask << " on " << row.path;
    }
}

TEST(Exclusions, BadMasksAreRefusedWithAReasonAndMatchNothing) {
    const std::string rows[] = {"",
                                "a/b",
                                "[a",
                                "a[",
                                "[",
                                "[]",
                                "[a/b]",
                                "a\\",
                                "..",
                                ".",
                                "/../",
                                "/a/./",
                                "[[:",
                                "x[a\\]",
                                "/a[b/c]",
                                std::string("a\0b", 3),
                                std::string(5000, 'a'),
                                std::string(100, '*')};
    for (const std::string& mask : rows) {
        EXPECT_NE(CheckMask(mask), "") << mask;
        EXPECT_FALSE(Exclusions({}, {mask}).ExcludesAnyOf("/a/b")) << mask;
    }
}

TEST(Exclusions, AMaskOfManyStarsIsMatchedSoon) {
    const Exclusions exclusions({}, {"*a*a*a*a*a*a*a*a*a*a*a*a*b"});
    EXPECT_FALSE(exclusions.Excludes("/" + std::string(250, 'a'))); // hangs where each star tries all
}

} // namespace
} // namespace tfs::service::scan
