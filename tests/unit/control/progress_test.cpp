// SPDX-License-Identifier: GPL-2.0-or-later
// What a terminal shows of a run that goes on, and what a pipe gets.
#include <control/progress_line.h>
#include <control/text_reporter.h>
#include <control/text_width.h>

#include <gtest/gtest.h>
#include <sstream>

namespace tfs::control {
namespace {

struct Screen final : ITerminal {
    std::size_t columns = 80;
    std::size_t Columns() override { return columns; }
};

/// The lines of a terminal after the output, as far as carriage return and the erasing of a line go.
std::vector<std::string> Rendered(const std::string& output) {
    std::vector<std::string> lines = {""};
    for (std::size_t i = 0; i < output.size(); ++i) {
        if (output.compare(i, 4, "\r\x1b[K") == 0) {
            lines.back().clear();
            i += 3;
        } else if (output[i] == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += output[i];
        }
    }
    return lines;
}

TEST(TextWidth, CountsColumnsAndCutsBetweenCharacters) {
    EXPECT_EQ(TextWidth("abc"), 3u);
    EXPECT_EQ(TextWidth("\u0416\u0416"), 2u);
    EXPECT_EQ(TextWidth("\u65e5\u672c"), 4u); // wide
    EXPECT_EQ(TextWidth("e\u0301"), 1u);      // combining
    EXPECT_EQ(TextWidth("\xff"), 1u);
    EXPECT_EQ(Shortened("abcdef", 6), "abcdef");
    EXPECT_EQ(Shortened("abcdef", 5), "ab...");
    EXPECT_EQ(Shortened("\u65e5\u672c\u8a9e", 5), "\u65e5...");
    EXPECT_EQ(Shortened("\u0416\u0416\u0416\u0416\u0416", 4), "\u0416...");
    EXPECT_EQ(Shortened("abcdef", 2), "");
}

TEST(Duration, IsWrittenAsAClock) {
    EXPECT_EQ(DurationText(0), "0:00");
    EXPECT_EQ(DurationText(65), "1:05");
    EXPECT_EQ(DurationText(3600 + 60 + 1), "1:01:01");
    EXPECT_EQ(DurationText(400000), "111:06:40");
}

TEST(ProgressLine, IsOneLineOfATerminalThatIsClearedForOthers) {
    std::ostringstream out;
    std::ostringstream err;
    Screen screen;
    TextReporter reporter(out, err, &screen);
    reporter.Progress("Scan_File_100", {1, {}});
    reporter.Progress("Scan_File_100", {42, 65});
    EXPECT_EQ(Rendered(out.str()), (std::vector<std::string>{"Task 'Scan_File_100': 42% done (1:05)"}));
    reporter.Finding({ScanFinding::Kind::Threat, "/evil\x1b[2J\n", "X"});
    reporter.Progress("Scan_File_100", {43, {}});
    EXPECT_EQ(Rendered(out.str()),
              (std::vector<std::string>{"Threat detected: /evil\\x1b[2J\\n (X)", "Task 'Scan_File_100': 43% done"}));
    reporter.Error(ExitCode::Unavailable, "gone");
    EXPECT_EQ(Rendered(out.str()).back(), "");
    reporter.StopAsked();
    reporter.Progress("Scan_File_100", {44, {}});
    reporter.ScanEnded({});
    EXPECT_EQ(out.str().find("44%"), out.str().rfind("44%"));
    for (const std::string& line : Rendered(out.str()))
        EXPECT_EQ(line.find("44%"), std::string::npos);
}

TEST(ProgressLine, KeepsToTheWidthAndToOneLineWhateverTheName) {
    for (const std::size_t columns : {0u, 1u, 10u, 20u, 40u, 200u}) {
        std::ostringstream out;
        std::ostringstream err;
        Screen screen;
        screen.columns = columns;
        TextReporter reporter(out, err, &screen);
        reporter.Progress("name\x1b[2J\r\n\u202e " + std::string(100, 'x') + "\u65e5\u672c", {42, 65});
        const std::vector<std::string> lines = Rendered(out.str());
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_LE(TextWidth(lines[0]), columns > 0 ? columns - 1 : 0);
        EXPECT_EQ(lines[0].find_first_of("\x1b\r"), std::string::npos);
        if (columns >= 40) {
            EXPECT_TRUE(lines[0].ends_with("': 42% done (1:05)")) << lines[0];
        }
    }
}

TEST(ProgressLine, IsAPlainLineNowAndThenInAPipe) {
    std::ostringstream out;
    std::ostringstream err;
    TextReporter reporter(out, err);
    for (std::uint32_t percent = 0; percent <= 25; ++percent)
        reporter.Progress("Update", {percent, {}});
    EXPECT_EQ(out.str(), "Task 'Update': 0% done\nTask 'Update': 10% done\nTask 'Update': 20% done\n");
}

} // namespace
} // namespace tfs::control
