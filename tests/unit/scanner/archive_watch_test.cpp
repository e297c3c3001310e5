// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/archive_watch.h>

#include <gtest/gtest.h>

namespace tfs::scanner {
namespace {

constexpr std::uint64_t Limit = 1000000;

/// One thing that the engine tells of during a scan.
struct Step {
    enum Kind { Begin, Member, End } kind;
    std::uint32_t level = 0; ///< or a member's position
    std::string_view type = {};
    std::uint64_t size = 0; ///< or a member's packed size
    std::uint64_t unpacked = 0;
    bool encrypted = false;
    std::string_view name = "name";
};

std::string Troubles(const std::vector<Step>& steps) {
    ArchiveWatch watch(Limit);
    for (const Step& step : steps) {
        if (step.kind == Step::Begin)
            watch.BeginLayer(step.level, step.type, step.name, step.size);
        else if (step.kind == Step::Member)
            watch.Member({step.type, step.name, step.size, step.unpacked, step.encrypted, step.level});
        else
            watch.EndLayer();
    }
    watch.Finish();
    const ArchiveTroubles& troubles = watch.Troubles();
    return std::string(troubles.cut ? "cut " : "") + (troubles.encrypted ? "encrypted " : "") +
           (troubles.unread ? "unread " : "");
}

constexpr Step::Kind Begin = Step::Begin;
constexpr Step::Kind Member = Step::Member;
constexpr Step::Kind End = Step::End;
constexpr const char* Zip = "CL_TYPE_ZIP";
constexpr const char* Seven = "CL_TYPE_7Z";
constexpr const char* Cab = "CL_TYPE_MSCAB";
constexpr const char* Text = "CL_TYPE_TEXT_ASCII";
constexpr const char* Program = "CL_TYPE_ELF";

TEST(ArchiveWatch, NoticesWhatTheEnginePassesOverInSilence) {
    struct Row {
        const char* what;
        std::vector<Step> steps;
        const char* expected;
    };
    const Row rows[] = {
        {"plain file", {{Begin, 0, Text, 5000}, {End}}, ""},
        {"zip, each member told twice",
         {{Begin, 0, Zip, 500},
          {Member, 1, Zip, 80, 100},
          {Member, 1, Zip, 80, 100},
          {Begin, 1, Text, 100},
          {End},
          {End}},
         ""},
        {"zip with folders and empty members only", {{Begin, 0, Zip, 500}, {Member, 1, Zip, 0, 0}, {End}}, ""},
        {"zip without a member", {{Begin, 0, Zip, 500}, {End}}, "unread "},
        {"zip that holds nothing", {{Begin, 0, Zip, 22}, {End}}, ""},
        {"zip with a member that isn't unpacked",
         {{Begin, 0, Zip, 500},
          {Member, 1, Zip, 80, 100},
          {Member, 2, Zip, 80, 100},
          {Begin, 1, Text, 100},
          {End},
          {End}},
         "unread "},
        {"zip that says a member is empty, and it isn't",
         {{Begin, 0, Zip, 500}, {Member, 1, Zip, 400, 0}, {End}},
         "unread "},
        {"zip written as a stream and cut short", {{Begin, 0, Zip, 90000}, {Member, 1, Zip, 0, 0}, {End}}, "unread "},
        {"zip with a member over the limit",
         {{Begin, 0, Zip, 500}, {Member, 1, Zip, 80, Limit + 1}, {Begin, 1, Text, Limit}, {End}, {End}},
         "cut "},
        {"zip that lies about it",
         {{Begin, 0, Zip, 500}, {Member, 1, Zip, 80, 100}, {Begin, 1, Text, Limit}, {End}, {End}},
         "cut "},
        {"office document with a part over the limit",
         {{Begin, 0, "CL_TYPE_OOXML_WORD", 500},
          {Member, 1, "CL_TYPE_OOXML_WORD", 80, Limit + 1},
          {Begin, 1, Text, Limit},
          {End},
          {End}},
         "cut "},
        {"cabinet with a member over the limit",
         {{Begin, 0, Cab, 500}, {Member, 0, Cab, 0, Limit + 1}, {Begin, 1, Text, Limit}, {End}, {End}},
         "cut "},
        {"7z with a member of just the limit",
         {{Begin, 0, Seven, 500}, {Member, 0, Seven, 0, Limit}, {Begin, 1, Text, Limit}, {End}, {End}},
         ""},
        {"a size that is wrong in another container",
         {{Begin, 0, "CL_TYPE_POSIX_TAR", 500},
          {Member, 1, "CL_TYPE_POSIX_TAR", 80, ~0ull},
          {Begin, 1, Text, 80},
          {End},
          {End}},
         ""},
        {"7z of a kind that isn't known", {{Begin, 0, Seven, 500}, {Member, 0, Seven, 0, 100}, {End}}, "unread "},
        {"archive without an unpacker", {{Begin, 0, "CL_TYPE_RAR", 500}, {End}}, "unread "},
        {"xz stream cut short", {{Begin, 0, "CL_TYPE_XZ", 500}, {End}}, "unread "},
        {"xz stream of an empty file", {{Begin, 0, "CL_TYPE_XZ", 32}, {End}}, ""},
        {"encrypted member",
         {{Begin, 0, "CL_TYPE_ARJ", 500}, {Member, 1, "CL_TYPE_ARJ", 80, 5, true}, {End}},
         "encrypted "},
        {"inside another archive",
         {{Begin, 0, Zip, 500},
          {Member, 1, Zip, 80, 100},
          {Begin, 1, Seven, 100},
          {Member, 0, Seven, 0, 100},
          {End},
          {End}},
         "unread "},
        {"zip behind a program, unpacked",
         {{Begin, 0, Program, 5000}, {Member, 0, Zip, 80, 100}, {Begin, 2, Text, 100}, {End}, {End}},
         ""},
        {"zip behind a program, not unpacked",
         {{Begin, 0, Program, 5000}, {Member, 0, Zip, 80, 100}, {End}},
         "unread "},
        {"zip behind a program, cut",
         {{Begin, 0, Program, 5000}, {Member, 0, Zip, 80, 100}, {Begin, 2, Text, Limit}, {End}, {End}},
         "cut "},
        {"program that knows zip: larger than the file",
         {{Begin, 0, Program, 5000}, {Member, 0, Zip, 3573925871, 322, true}, {End}},
         ""},
        {"program that knows zip: no packer does that",
         {{Begin, 0, Program, 5000}, {Member, 0, Zip, 26, 611617096}, {End}},
         ""},
        {"program that knows zip: no name",
         {{Begin, 0, Program, 5000}, {Member, 0, Zip, 260, 320, true, "\x01\x02"}, {End}},
         ""},
        {"scan that ended in the midst", {{Begin, 0, Zip, 500}, {Member, 1, Zip, 80, 100}}, "unread "},
        {"end of what never began", {{End}, {Member, 1, Zip, 80, 100}, {End}}, ""},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Troubles(row.steps), row.expected) << row.what;
}

TEST(ArchiveWatch, NamesThePartsOnTheWay) {
    ArchiveWatch watch(Limit);
    watch.BeginLayer(0, Zip, "outer.zip", 500);
    EXPECT_EQ(watch.InnerName(), "");
    watch.BeginLayer(1, Zip, "inner.zip", 400);
    watch.BeginLayer(3, Text, "file", 10);
    EXPECT_EQ(watch.InnerName(), "inner.zip/file");
    watch.EndLayer();
    EXPECT_EQ(watch.InnerName(), "inner.zip");
}

} // namespace
} // namespace tfs::scanner
