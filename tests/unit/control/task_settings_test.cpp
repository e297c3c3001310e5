// SPDX-License-Identifier: GPL-2.0-or-later
// Settings, schedule, statistics, making and deleting of tasks, through the whole program.
#include <tests/unit/control/program_fixture.h>
#include <tests/unit/service/temp_folder.h>

#include <algorithm>

namespace tfs::control {
namespace {

using nlohmann::json;
using settings::ChangeItem;
using ulk::Ptr;

class TaskSettingsCommands : public test::ProgramTest {
protected:
    void SetUp() override {
        core::TaskInfo scan;
        scan.taskId = 2;
        scan.taskName = u"Scan_My_Computer";
        scan.taskType = task_type::ODS;
        Tasks().tasks = {scan};
        Tasks().taskSettings = {ScanSettings::TypeNumber,
                                {{"ScanAreas", ""}, {"ScanAreas.item_0000", "/a b\x1b"}, {"ScanArchived", "yes"}},
                                false};
    }

    static test::FakeTasks& Tasks() { return *locator->tasks; }

    service::tests::TempFolder m_folder;
};

TEST_F(TaskSettingsCommands, SettingsAreShownAndCanBeSetAgain) {
    ASSERT_EQ(Run({"--get-settings", "2"}), 0);
    EXPECT_EQ(m_out.str(), "ScanAreas=\nScanAreas.item_0000=/a b\\x1b\nScanArchived=yes\n");
    ASSERT_EQ(Run({"--get-settings", "2", "ScanArchived", "--json"}), 0);
    EXPECT_EQ(Json(), json::parse(R"({"settings": {"ScanArchived": "yes"}})"));
    EXPECT_EQ(Run({"--get-settings", "2", "UseTSN"}), 78);
    EXPECT_EQ(Run({"--get-settings", "9"}), 66);

    const std::string file = m_folder.File("scan.ini");
    ASSERT_EQ(Run({"--get-settings", "2", "--file", file, "--json"}), 0);
    EXPECT_EQ(Json(), json({{"file", file}}));
    ASSERT_EQ(Run({"--set-settings", "2", "--file", file}), 0);
    ASSERT_EQ(Tasks().asked.size(), 1u);
    EXPECT_EQ(Tasks().asked[0].what, u"settings");
    EXPECT_EQ(Tasks().asked[0].list, Tasks().taskSettings);
    EXPECT_EQ(Run({"--get-settings", "2", "--file", m_folder.File("no/such")}), 74);
    EXPECT_EQ(Run({"--set-settings", "2", "--file", m_folder.File("missing")}), 78);
}

TEST_F(TaskSettingsCommands, AFileNeverChangesAValueOnTheWay) {
    for (const char* value : {"/a\nb", "/a\"b", " /a", "/a ", "\t"}) {
        Tasks().taskSettings.items = {{"ScanAreas.item_0000", value}};
        const std::string file = m_folder.Write("kept.ini", "before");
        EXPECT_EQ(Run({"--get-settings", "2", "--file", file}), 78) << value;
        EXPECT_EQ(Run({"--get-settings", "2"}), 0) << value;
    }
    EXPECT_EQ(Run({"--set-settings", "2", "--file", m_folder.File("kept.ini")}), 0);
    EXPECT_EQ(Tasks().asked.at(0).list.items, (std::vector<ChangeItem>{{"before", ""}})) << "was overwritten";
}

TEST_F(TaskSettingsCommands, ChangesAreSentUnderTheirType) {
    ASSERT_EQ(Run({"--set-settings", "2", "ScanArchived=no", "--json"}), 0);
    EXPECT_EQ(Json().at("changed"), true);
    ASSERT_EQ(Run({"--set-settings", "2", "--set-to-default"}), 0);
    ASSERT_EQ(Run({"--set-schedule", "2", "RuleType=Daily", "StartTime=03:00"}), 0);
    ASSERT_EQ(Run({"--set-schedule", "2", "--set-to-default"}), 0);
    const auto& asked = Tasks().asked;
    ASSERT_EQ(asked.size(), 4u);
    EXPECT_EQ(asked[0].list.items, (std::vector<ChangeItem>{{"ScanArchived", "no"}}));
    EXPECT_EQ(asked[0].list.typeNumber, ScanSettings::TypeNumber);
    EXPECT_FALSE(asked[0].toDefault);
    EXPECT_TRUE(asked[1].toDefault && asked[1].list.items.empty());
    EXPECT_EQ(asked[2].what, u"schedule");
    EXPECT_EQ(asked[2].list.typeNumber, ScheduleSettings::TypeNumber);
    EXPECT_EQ(asked[2].list.items.size(), 2u);
    EXPECT_TRUE(asked[3].toDefault);
}

TEST_F(TaskSettingsCommands, RefusalsHaveTheirCodes) {
    Tasks().messages = {{"UnknownSettings1", {u"a\nb"}}};
    for (const auto& [result, code] :
         {std::pair{sInvalidSettings, 78}, std::pair{ulk::eInvalidState, 65}, std::pair{ulk::eAccessDenied, 77},
          std::pair{ulk::eNotSupported, 65}, std::pair{eBlockedByPolicy, 4}}) {
        Tasks().setResult = result;
        for (const char* command : {"--set-settings", "--set-schedule"}) {
            EXPECT_EQ(Run({command, "2", "a=b"}), code);
            EXPECT_EQ(m_out.str(), "");
            const std::string told = m_err.str();
            EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
        }
    }
}

TEST_F(TaskSettingsCommands, AScheduleIsToldInTheWordsThatSetIt) {
    Tasks().schedule = {types::ScheduleMode::Weekly, u"Weekly, Monday, 03:30", 12600, types::DayOfWeek::Monday, 1};
    ASSERT_EQ(Run({"--get-schedule", "2", "--json"}), 0);
    const json told = Json().at("settings");
    EXPECT_EQ(told.at("RuleType"), "Weekly");
    EXPECT_EQ(told.at("StartTime"), "03:30");
    EXPECT_EQ(told.at("DayOfWeek"), "Monday");
    EXPECT_EQ(told.at("RunMissed"), "yes");
    ASSERT_EQ(Run({"--get-task-list"}), 0);
    EXPECT_NE(m_out.str().find("  Weekly, Monday, 03:30\n"), std::string::npos) << m_out.str();
}

TEST_F(TaskSettingsCommands, StateTellsProgressAndTimeLeftOfARun) {
    Tasks().progress = {42, 65};
    Tasks().progressResult = ulk::sOk;
    ASSERT_EQ(Run({"--get-task-state", "2", "--json"}), 0);
    EXPECT_TRUE(Json().at("task").at("progress").is_null()) << "nothing runs";
    Tasks().tasks[0].state = types::TaskState::Started;
    ASSERT_EQ(Run({"--get-task-state", "2", "--json"}), 0);
    EXPECT_EQ(Json().at("task").at("progress"), json::parse(R"({"percent": 42, "secondsLeft": 65})"));
    ASSERT_EQ(Run({"--get-task-state", "2"}), 0);
    EXPECT_NE(m_out.str().find("42%\nTime left:            1:05\n"), std::string::npos) << m_out.str();
    Tasks().progress.secondsLeft.reset();
    ASSERT_EQ(Run({"--get-task-list", "--json"}), 0);
    EXPECT_TRUE(Json().at("tasks")[0].at("progress").at("secondsLeft").is_null());
}

TEST_F(TaskSettingsCommands, StatisticsOutliveTheirTask) {
    OxsStatistic gone;
    gone.taskId = 100;
    gone.taskName = u"Scan_File_100";
    gone.isTemporary = true;
    gone.scan.threatsFound = 3;
    OxsStatistic full;
    full.taskId = 2;
    full.taskName = u"Scan_My_Computer";
    Tasks().statistics = {gone, full};
    ASSERT_EQ(Run({"--get-statistics", "--json"}), 0);
    const json all = Json().at("statistics");
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].at("task").at("id"), 2);
    EXPECT_EQ(all[1].at("threatsFound"), 3);
    ASSERT_EQ(Run({"--get-statistics", "Scan_File_100", "--json"}), 0);
    EXPECT_EQ(Json().at("statistics"), json::array({all[1]}));
    EXPECT_EQ(Run({"--get-statistics", "2", "Nothing"}), 66);
    EXPECT_EQ(m_out.str(), "");
    ASSERT_EQ(Run({"--delete-statistics", "100", "--json"}), 0);
    EXPECT_EQ(Json().at("deletedStatistics"), all[1]);
    EXPECT_EQ(Tasks().statistics, std::vector{full});
    EXPECT_EQ(Run({"--delete-statistics", "Scan_File_100"}), 66);
}

TEST_F(TaskSettingsCommands, ACustomScanIsMadeAndDeleted) {
    const std::string file = m_folder.Write("scan.ini", "ScanArchived=no\nScanAreas=\n");
    ASSERT_EQ(Run({"--create-task", "/", "--file", file, "--json"}), 0);
    EXPECT_EQ(Json().at("created").at("id"), 100);
    EXPECT_EQ(Tasks().created.areas, std::vector<std::string>{"/"});
    EXPECT_FALSE(Tasks().created.scanArchives);
    ASSERT_EQ(Run({"--delete-task", "100", "--json"}), 0);
    EXPECT_EQ(Json().at("deleted").at("name"), "Scan_File_100");
    EXPECT_EQ(Tasks().commands.back(), u"delete Scan_File_100");
    EXPECT_EQ(Run({"--delete-task", "7"}), 66);
}

TEST_F(TaskSettingsCommands, ACustomScanIsNotMadeOfAWrongFile) {
    const std::size_t before = Tasks().tasks.size();
    for (const char* text : {"ScanAreas.item_0000=/etc\n", "NoSuch=1\n", "ScanArchived=perhaps\n", ""}) {
        EXPECT_EQ(Run({"--create-task", "/", "--file", m_folder.Write("wrong.ini", text)}), 78) << text;
        const std::string told = m_err.str();
        EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
    }
    EXPECT_EQ(Run({"--create-task", "/", "--file", m_folder.File("missing")}), 78);
    EXPECT_EQ(Run({"--create-task", "/nonexistent"}), 66);
    EXPECT_EQ(Tasks().tasks.size(), before);
}

} // namespace
} // namespace tfs::control
