// SPDX-License-Identifier: GPL-2.0-or-later
// What the device's state comes to in words, in issues and in one verdict.
#include <foundation/datetime.h>
#include <tfs_common/overview/overview.h>

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tfs::overview {
namespace {

using types::TaskState;

constexpr std::int64_t Minute = 60;
constexpr std::int64_t Hour = 60 * Minute;
constexpr std::int64_t Day = 24 * Hour;
constexpr std::int64_t Now = 1800000000;

std::int64_t Ticks(std::int64_t seconds) { return ulk::datetime::TicksFromSeconds(seconds); }

/// Nothing is wrong with it.
DeviceState Sound() {
    DeviceState device;
    device.appInfo.avBasesLoaded = true;
    device.appInfo.avBasesDate = Ticks(Now - Day);
    device.appInfo.lastUpdateTime = Ticks(Now - Hour);
    device.appInfo.lastMyCompScanTime = Now - 2 * Day;
    device.appInfo.canRunProtection = true;
    device.appInfo.applicationUpdateState = ApplicationUpdateState::NoUpdatesAvailable;
    device.fileMonitoring.state = TaskState::Started;
    device.canStartFileMonitoring = true;
    device.lastFullScan.emplace();
    device.nowTicks = Ticks(Now);
    return device;
}

std::vector<int> Actions(const Overview& overview) {
    std::vector<int> actions;
    for (const Issue& issue : overview.issues)
        actions.push_back(static_cast<int>(issue.action));
    return actions;
}

using Ids = std::vector<int>;

TEST(Overview, ASoundDeviceHasNoIssue) {
    const Overview overview = Describe(Sound());
    EXPECT_EQ(overview.level, Danger::OK);
    EXPECT_EQ(overview.verdict, "Your device is protected well");
    EXPECT_EQ(overview.lastScan, "Last scan: 2 days ago");
    EXPECT_EQ(overview.lastScanResult, "Nothing detected");
    EXPECT_EQ(overview.lastUpdate, "Last update: 1 hour ago");
    EXPECT_EQ(overview.databases, "Databases are up to date.");
    EXPECT_FALSE(overview.databasesIsError || overview.lastScanIsError);
    EXPECT_EQ(Actions(overview), Ids());
}

TEST(Overview, EveryIssueComesWithItsReasonAndItsLevel) {
    const struct {
        const char* what;
        std::function<void(DeviceState&)> change;
        std::string verdict;
        Ids actions;
        std::string title;
    } rows[] = {
        {"2 days 23 hours",
         [](auto& d) { d.appInfo.avBasesDate = Ticks(Now - 3 * Day + Hour); },
         "Your device is protected well",
         {},
         {}},
        {"from the future",
         [](auto& d) { d.appInfo.avBasesDate = Ticks(Now + 30 * Day); },
         "Your device is protected well",
         {},
         {}},
        {"3 days",
         [](auto& d) { d.appInfo.avBasesDate = Ticks(Now - 3 * Day); },
         "Protection of your device is reduced\n1 warning",
         {1},
         "Databases are out of date"},
        {"7 days",
         [](auto& d) { d.appInfo.avBasesDate = Ticks(Now - 8 * Day + 1); },
         "Protection of your device is reduced\n1 warning",
         {1},
         "Databases are out of date"},
        {"8 days",
         [](auto& d) { d.appInfo.avBasesDate = Ticks(Now - 8 * Day); },
         "Your device is in danger\n1 threat",
         {1},
         "Databases are totally out of date"},
        {"not loaded",
         [](auto& d) { d.appInfo.avBasesLoaded = false; },
         "Your device is in danger\n1 threat",
         {1},
         "Databases are not loaded"},
        {"no monitoring",
         [](auto& d) { d.fileMonitoring.state = TaskState::Starting; },
         "Your device is in danger\n1 threat",
         {3},
         "Protection is disabled"},
        {"no full scan",
         [](auto& d) { d.appInfo.lastMyCompScanTime = 0; },
         "Your device is protected well\n1 recommendation",
         {4},
         "Full scan was never started"},
        {"Storage at 80", [](auto& d) { d.storageFill = 80; }, "Your device is protected well", {}, {}},
        {"Storage at 81",
         [](auto& d) { d.storageFill = 81; },
         "Protection of your device is reduced\n1 warning",
         {6},
         "Storage size limit almost reached."},
        {"downloaded",
         [](auto& d) { d.appInfo.applicationUpdateState = ApplicationUpdateState::UpdateDownloaded; },
         "Your device is protected well\n1 recommendation",
         {7},
         "Application update is ready to install."},
        {"failed",
         [](auto& d) { d.appInfo.applicationUpdateState = ApplicationUpdateState::UpdateFailed; },
         "Your device is protected well\n1 recommendation",
         {7},
         "Restart is required"},
        {"module",
         [](auto& d) { d.appInfo.applicationUpdateState = ApplicationUpdateState::ModuleUpdateInstalled; },
         "Your device is protected well\n1 recommendation",
         {7},
         "Application restart is required"},
        {"corrupted",
         [](auto& d) { d.appInfo.applicationUpdateState = ApplicationUpdateState::PatchFilesCorrupted; },
         "Your device is protected well",
         {},
         {}},
    };
    for (const auto& row : rows) {
        DeviceState device = Sound();
        row.change(device);
        const Overview overview = Describe(device);
        EXPECT_EQ(overview.verdict, row.verdict) << row.what;
        EXPECT_EQ(Actions(overview), row.actions) << row.what;
        if (!row.title.empty()) {
            EXPECT_EQ(overview.issues.front().title, row.title) << row.what;
        }
    }
}

TEST(Overview, CountsTheIssuesOfTheHighestLevelAlone) {
    DeviceState device = Sound();
    device.appInfo.lastMyCompScanTime = 0;
    device.appInfo.avBasesDate = Ticks(Now - 5 * Day);
    device.storageFill = 100;
    EXPECT_EQ(Describe(device).verdict, "Protection of your device is reduced\n2 warnings");
    device.fileMonitoring.state = TaskState::Stopped;
    EXPECT_EQ(Describe(device).verdict, "Your device is in danger\n1 threat");
    EXPECT_EQ(Actions(Describe(device)), (Ids{1, 3, 4, 6}));
    device.isUnderPolicy = true;
    const Overview managed = Describe(device);
    EXPECT_EQ(managed.verdict, "Your device is protected well");
    EXPECT_EQ(managed.databases, "Databases are out of date.") << "and that is the truth all the same";
    EXPECT_EQ(Actions(managed), (Ids{1, 3, 4, 6}));
}

TEST(Overview, ARunningUpdateIsStoppedInPlaceOfStarted) {
    DeviceState device = Sound();
    device.appInfo.avBasesLoaded = false;
    device.appInfo.lastUpdateTime = 0;
    EXPECT_EQ(Describe(device).lastUpdate, "Never run");
    device.update.state = TaskState::Starting;
    device.update.startTime = Now - 5 * Minute;
    Issue issue = Describe(device).issues.front();
    EXPECT_EQ(issue.action, IssueAction::StopUpdate);
    EXPECT_EQ(issue.title, "Databases are not loaded");
    EXPECT_EQ(issue.description, "Running, started 5 minutes ago");
    EXPECT_EQ(Describe(device).lastUpdate, "Never run") << "it hasn't started yet";
    device.update.state = TaskState::Started;
    EXPECT_EQ(Describe(device).lastUpdate, "Running, started 5 minutes ago");
    device.appInfo.avBasesLoaded = true;
    device.update.state = TaskState::Stopped;
    EXPECT_EQ(Describe(device).lastUpdate, "Last update: 1 day ago") << "the date of the databases stands in";
}

TEST(Overview, TellsTheScanThatRunsAndWhatTheLastOneFound) {
    DeviceState device = Sound();
    device.appInfo.lastMyCompScanTime = 0;
    EXPECT_EQ(Describe(device).lastScan, "Never run");
    EXPECT_EQ(Describe(device).lastScanResult, "");
    device.fullScan.state = TaskState::Started;
    device.fullScan.startTime = Now + Hour; // the clock was put back
    device.lastFullScan->scan.threatsFound = 1;
    const Overview overview = Describe(device);
    EXPECT_EQ(overview.lastScan, "Running, started less than a minute ago");
    EXPECT_EQ(overview.lastScanResult, "Threat detected");
    EXPECT_TRUE(overview.lastScanIsError);
    EXPECT_EQ(Actions(overview), Ids{4});
}

TEST(Overview, WhoMayNotManageSeesIssuesAndCanNotActOnThem) {
    DeviceState device = Sound();
    device.appInfo.avBasesDate = Ticks(Now - 5 * Day);
    device.appInfo.lastMyCompScanTime = 0;
    device.fileMonitoring.state = TaskState::Stopped;
    const auto available = [&] {
        std::string text;
        for (const Issue& issue : Describe(device).issues)
            text += issue.available ? issue.taskName + ' ' : "- ";
        return text;
    };
    EXPECT_EQ(available(), "Update File_Monitoring Scan_My_Computer ");
    device.allowUserManageLocalTasks = false;
    EXPECT_EQ(available(), "Update File_Monitoring Scan_My_Computer ") << "nobody manages it centrally";
    device.isUnderPolicy = true;
    device.canStartFileMonitoring = false;
    EXPECT_EQ(available(), "- - - ");
    device = Sound();
    device.appInfo.lastMyCompScanTime = 0;
    device.appInfo.canRunProtection = false;
    EXPECT_EQ(available(), "- ");
}

TEST(StorageFill, IsInWholePercent) {
    const settings::BackupSettings limit{30, 1};
    BackupItems items(2);
    items[0].fileSize = (1u << 20) / 2;
    items[1].fileSize = (1u << 20) / 100 * 31 - 20;
    EXPECT_EQ(StorageFillPercentage(items, limit), 80u);
    items[1].fileSize += 1000;
    EXPECT_EQ(StorageFillPercentage(items, limit), 81u);
    EXPECT_EQ(StorageFillPercentage(items, settings::BackupSettings{30, 0}), 0u);
    EXPECT_EQ(StorageFillPercentage({}, limit), 0u);
}

} // namespace
} // namespace tfs::overview
