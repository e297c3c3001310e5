// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/settings.h>

#include <gtest/gtest.h>
#include <stdexcept>
#include <vector>

namespace tfs::scanner {
namespace {

Settings Parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "tesl-scanner");
    return ParseArguments(static_cast<int>(arguments.size()), arguments.data());
}

TEST(ScannerSettings, GoodArgumentsAreTaken) {
    const Settings settings = Parse({"--bases", "/b", "--time-limit", "1500", "--max-file", "4096"});
    EXPECT_EQ(settings.basesFolder, "/b");
    EXPECT_EQ(settings.timeLimitMs, 1500u);
    EXPECT_EQ(settings.maxFileSize, 4096u);
}

TEST(ScannerSettings, BadArgumentsAreRefused) {
    const std::vector<std::vector<const char*>> rows = {
        {"--bases"},           {"--unknown", "1"},   {"--time-limit", "0"},
        {"--time-limit", "x"}, {"--max-file", "-1"}, {"--max-file", "99999999999999999999999"},
        {"--max-file", "5k"},  {"--max-files", ""},  {"--memory", "1"},
        {"stray", "value"},
    };
    for (const auto& row : rows)
        EXPECT_THROW(Parse(row), std::invalid_argument) << row[0];
}

} // namespace
} // namespace tfs::scanner
