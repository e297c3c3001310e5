// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/settings/file_io.h>
#include <service/settings/service_settings.h>
#include <tests/unit/service/temp_folder.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::service::settings {
namespace {

using tests::Content;
using tests::TempFolder;

TEST(ServiceSettings, MissingFileGivesDefaultsWithoutComplaint) {
    const TempFolder folder;
    const LoadedSettings loaded = LoadSettings(folder.File("service.json"));
    EXPECT_EQ(loaded.origin, SettingsOrigin::Missing);
    EXPECT_EQ(loaded.settings, ServiceSettings());
    EXPECT_TRUE(loaded.problem.empty());
}

TEST(ServiceSettings, WhatIsSavedIsReadAgain) {
    const TempFolder folder;
    ServiceSettings settings;
    settings.scanScope = {"/home", "/srv/größe"};
    settings.scanExclusions = {"/srv/backup"};
    settings.scannerWorkers = 3;
    settings.fileTimeLimitSeconds = 3600;
    settings.allowUserManageLocalTasks = false;
    settings.allowUserManageGroupTasks = false;
    settings.application.useTsn = types::TsnUsage::Basic;
    settings.application.maxEventsNumber = 4321;
    settings.application.useSyslog = true;
    settings.application.traceFolder = "/srv/größe/";
    settings.statement = StatementAcceptance{"2026-11-21T09:00:00Z", "00ff"};
    ASSERT_EQ(SaveSettings(folder.File("service.json"), settings), ulk::sOk);
    const LoadedSettings loaded = LoadSettings(folder.File("service.json"));
    EXPECT_EQ(loaded.origin, SettingsOrigin::File);
    EXPECT_EQ(loaded.settings, settings);
}

TEST(ServiceSettings, OneKeyLeavesTheOthersAtTheirDefaults) {
    const TempFolder folder;
    const LoadedSettings loaded = LoadSettings(folder.Write(
        "service.json", R"({"scanScope": ["/staged"], "application": {"TraceLevel": "Detailed", "UseSyslog": true,
                            "MaxEventsNumber": 5000}})"));
    ServiceSettings expected;
    expected.scanScope = {"/staged"};
    expected.application.traceLevel = types::TraceLevel::Detailed;
    expected.application.useSyslog = true;
    expected.application.maxEventsNumber = 5000;
    EXPECT_EQ(loaded.origin, SettingsOrigin::File);
    EXPECT_EQ(loaded.settings, expected);
}

TEST(ServiceSettings, KeysOfALaterVersionAreKept) {
    const TempFolder folder;
    const std::string path = folder.Write(
        "service.json", R"({"later": {"a": [1, null]}, "application": {"UseSyslog": "Yes", "LaterKey": "x"}})");
    LoadedSettings loaded = LoadSettings(path);
    ASSERT_EQ(loaded.origin, SettingsOrigin::File) << loaded.problem;
    EXPECT_TRUE(loaded.settings.application.useSyslog) << "earlier versions wrote this word";
    loaded.settings.application.useSyslog = false;
    ASSERT_EQ(SaveSettings(path, loaded.settings), ulk::sOk);
    EXPECT_EQ(LoadSettings(path).settings, loaded.settings);
    EXPECT_NE(Content(path).find("LaterKey"), std::string::npos) << Content(path);
    EXPECT_NE(Content(path).find("later"), std::string::npos) << Content(path);
}

TEST(ServiceSettings, WhatEarlierVersionsWroteCountsUntilItIsWrittenAnew) {
    const TempFolder folder;
    const struct {
        const char* text;
        types::TraceLevel::Type level;
        bool reports;
    } cases[] = {
        {R"({"traceLevel": 0, "reportsForPrivilegedOnly": true})", types::TraceLevel::None, true},
        {R"({"traceLevel": 300})", types::TraceLevel::NotDetailed, false},
        {R"({"traceLevel": 1000})", types::TraceLevel::Detailed, false},
        {R"({"traceLevel": 1000, "application": {"TraceLevel": "None"}})", types::TraceLevel::None, false},
    };
    for (const auto& [text, level, reports] : cases) {
        const std::string path = folder.Write("service.json", text);
        const LoadedSettings loaded = LoadSettings(path);
        EXPECT_EQ(loaded.origin, SettingsOrigin::File) << text;
        EXPECT_EQ(loaded.settings.application.traceLevel, level) << text;
        EXPECT_EQ(loaded.settings.application.uiReportsForRootOnly, reports) << text;
        ASSERT_EQ(SaveSettings(path, loaded.settings), ulk::sOk);
        EXPECT_EQ(Content(path).find("traceLevel"), std::string::npos);
        EXPECT_EQ(LoadSettings(path).settings, loaded.settings) << text;
    }
}

struct BadValue {
    const char* text;
    const char* named; ///< what the complaint must name
};

class BadSettings : public testing::TestWithParam<BadValue> {};

TEST_P(BadSettings, LeaveAllDefaultsAndTheFile) {
    const TempFolder folder;
    const std::string path = folder.Write("service.json", GetParam().text);
    const LoadedSettings loaded = LoadSettings(path);
    EXPECT_EQ(loaded.origin, SettingsOrigin::Invalid);
    EXPECT_EQ(loaded.settings, ServiceSettings());
    EXPECT_NE(loaded.problem.find(GetParam().named), std::string::npos) << loaded.problem;
    EXPECT_EQ(Content(path), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadSettings,
    testing::Values(BadValue{R"([])", "object"}, BadValue{R"(7)", "object"},
                    BadValue{R"({"traceLevel": 700, "scanScope": []})", "scanScope"},
                    BadValue{R"({"scanScope": "/"})", "scanScope"}, BadValue{R"({"scanScope": [7]})", "scanScope"},
                    BadValue{R"({"scanScope": ["home"]})", "scanScope"},
                    BadValue{R"({"scanScope": [""]})", "scanScope"},
                    BadValue{R"({"scanScope": ["/a\u0000b"]})", "scanScope"},
                    BadValue{R"({"scanExclusions": ["../x"]})", "scanExclusions"},
                    BadValue{R"({"scannerWorkers": -1})", "scannerWorkers"},
                    BadValue{R"({"scannerWorkers": 65})", "scannerWorkers"},
                    BadValue{R"({"scannerWorkers": 2.5})", "scannerWorkers"},
                    BadValue{R"({"scannerWorkers": "2"})", "scannerWorkers"},
                    BadValue{R"({"scannerWorkers": 18446744073709551615})", "scannerWorkers"},
                    BadValue{R"({"fileTimeLimitSeconds": 0})", "fileTimeLimitSeconds"},
                    BadValue{R"({"fileTimeLimitSeconds": 3601})", "fileTimeLimitSeconds"},
                    BadValue{R"({"traceLevel": -1})", "traceLevel"}, BadValue{R"({"traceLevel": 1001})", "traceLevel"},
                    BadValue{R"({"traceLevel": -9223372036854775808})", "traceLevel"},
                    BadValue{R"({"reportsForPrivilegedOnly": 1})", "reportsForPrivilegedOnly"},
                    BadValue{R"({"application": []})", "application"},
                    BadValue{R"({"application": {"TraceLevel": "Loud"}})", "TraceLevel"},
                    BadValue{R"({"application": {"MaxEventsNumber": 1}})", "MaxEventsNumber"},
                    BadValue{R"({"application": {"MaxEventsNumber": 5000.5}})", "MaxEventsNumber"},
                    BadValue{R"({"application": {"EventsStoragePath": "events.db"}})", "EventsStoragePath"},
                    BadValue{R"({"tsnStatement": {"accepted": "yesterday"}})", "tsnStatement"},
                    BadValue{R"({"allowUserManageLocalTasks": "no"})", "allowUserManageLocalTasks"},
                    BadValue{R"({"allowUserManageGroupTasks": null})", "allowUserManageGroupTasks"}));

TEST(ServiceSettings, GarbageIsSetAside) {
    const std::string garbages[] = {"",
                                    "{",
                                    "{\"traceLevel\": 700",
                                    std::string("\xff\xfe\0{}", 5),
                                    std::string(100000, '['),
                                    "{} trailing",
                                    "{\"a\": " + std::string(1000, '[') + std::string(1000, ']') + "}"};
    for (const std::string& garbage : garbages) {
        const TempFolder folder;
        const std::string path = folder.Write("service.json", garbage);
        const LoadedSettings loaded = LoadSettings(path);
        EXPECT_EQ(loaded.origin, SettingsOrigin::Damaged);
        EXPECT_EQ(loaded.settings, ServiceSettings());
        EXPECT_FALSE(std::filesystem::exists(path));
        EXPECT_EQ(Content(path + ".damaged"), garbage);
        EXPECT_EQ(LoadSettings(path).origin, SettingsOrigin::Missing);
    }
}

TEST(ServiceSettings, WhatIsNoReadableFileLeavesDefaults) {
    const TempFolder folder;
    ASSERT_EQ(::mkdir(folder.File("folder").c_str(), 0700), 0);
    ASSERT_EQ(::mkfifo(folder.File("pipe").c_str(), 0600), 0); // must not wait for a writer
    folder.Write("large", "{\"scanScope\": [\"/" + std::string(2000000, 'a') + "\"]}");
    for (const char* name : {"folder", "pipe", "large", "folder/../pipe/x"}) {
        const LoadedSettings loaded = LoadSettings(folder.File(name));
        EXPECT_EQ(loaded.origin, SettingsOrigin::Unreadable) << name;
        EXPECT_EQ(loaded.settings, ServiceSettings());
        EXPECT_FALSE(loaded.problem.empty());
    }
}

TEST(ServiceSettings, BadSettingsAreNotSaved) {
    const TempFolder folder;
    const std::string path = folder.Write("service.json", "{}");
    ServiceSettings settings;
    settings.scanScope.clear();
    EXPECT_EQ(SaveSettings(path, settings), ulk::eInvalidArgument);
    settings.scanScope = {"/\xff"}; // no text, so no JSON
    EXPECT_EQ(SaveSettings(path, settings), ulk::eInvalidArgument);
    EXPECT_EQ(Content(path), "{}");
}

TEST(AtomicFile, FailureLeavesTheOldContentAndNoRemains) {
    const TempFolder folder;
    const std::string path = folder.Write("state", "old");
    ASSERT_EQ(::mkdir(folder.File("state.new").c_str(), 0700), 0); // stands where the new content would be written
    EXPECT_TRUE(ULK_FAILED(WriteFileAtomically(path, "new")));
    EXPECT_EQ(Content(path), "old");
    ASSERT_EQ(::rmdir(folder.File("state.new").c_str()), 0);
    EXPECT_EQ(WriteFileAtomically(path, "new"), ulk::sOk);
    EXPECT_EQ(Content(path), "new");
    EXPECT_FALSE(std::filesystem::exists(folder.File("state.new")));
}

TEST(AtomicFile, ALinkInTheWayIsNotWrittenThrough) {
    const TempFolder folder;
    const std::string victim = folder.Write("victim", "mine");
    ASSERT_EQ(::symlink(victim.c_str(), folder.File("state.new").c_str()), 0);
    EXPECT_TRUE(ULK_FAILED(WriteFileAtomically(folder.File("state"), "new")));
    EXPECT_EQ(Content(victim), "mine");
}

TEST(AtomicFile, IsReadableByItsOwnerAlone) {
    const TempFolder folder;
    ASSERT_EQ(WriteFileAtomically(folder.File("state"), "x"), ulk::sOk);
    struct stat status {};
    ASSERT_EQ(::stat(folder.File("state").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0077, 0u);
}

} // namespace
} // namespace tfs::service::settings
