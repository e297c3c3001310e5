// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <tests/unit/control/program_fixture.h>

namespace tfs::control {
namespace {

using nlohmann::json;

class AppInfoCommand : public test::ProgramTest {
protected:
    AppInfoCommand() {
        locator->appInfo = ulk::Ptr<test::FakeAppInfo>::Adopt(new test::FakeAppInfo);
        info.avBasesLoaded = true;
        info.avBasesDate = ulk::datetime::NowTicks() - 4 * ulk::datetime::kTicksPerDay;
        info.applicationVersion = u"10.1\x1b[2J";
        info.systemName = u"Linux";
        info.systemVersion = u"12 (x)";
        task.taskId = 1;
        task.taskName = task_name::FileMonitoring;
        task.state = types::TaskState::Started;
    }
    int Tell(const std::vector<std::string>& arguments = {"--app-info"}) {
        locator->appInfo->appInfo = info;
        locator->tasks->tasks = {task};
        return Run(arguments);
    }
    bool Shows(const std::string& text) const { return m_out.str().find(text) != std::string::npos; }

    AppInfo info;
    core::TaskInfo task;
};

TEST_F(AppInfoCommand, TellsTheWindowsStoryInItsWords) {
    info.applicationUpdateState = ApplicationUpdateState::UpdateDownloaded;
    info.applicationUpdateVersion = u"10.2";
    ASSERT_EQ(Tell(), 0);
    EXPECT_EQ(m_out.str().find("Protection of your device is reduced\n1 warning\n\nScan\n  Never run\nUpdate\n  Last "
                               "update: 4 days ago\n  Databases are out of date.\nProtection center\n  Databases are "
                               "out of date\n    Start update task.\n  Full scan was never started\n"),
              0u)
        << m_out.str();
    EXPECT_TRUE(Shows("Application update 10.2 is ready to install.")) << m_out.str();
    EXPECT_TRUE(Shows("10.1\\x1b[2J")) << "nothing harms the terminal";
    EXPECT_TRUE(Shows("Linux (12 (x))"));
    EXPECT_FALSE(Shows("There are no issues"));
}

TEST_F(AppInfoCommand, TellsItToProgramsToo) {
    task.state = types::TaskState::Stopped;
    OxsStatistic run;
    run.taskName = task_name::FullScan;
    run.scan.threatsFound = 2;
    locator->tasks->statistics = {run};
    info.lastMyCompScanTime = 1;
    info.applicationUpdateState = ApplicationUpdateState::ModuleUpdateInstalled;
    ASSERT_EQ(Tell({"--app-info", "--json"}), 0);
    const json document = Json();
    EXPECT_EQ(document.at("appInfo").at("applicationUpdate"), "module-restart-required");
    EXPECT_EQ(document.at("appInfo").at("system").at("name"), "Linux");
    const json& overview = document.at("overview");
    EXPECT_EQ(overview.at("level"), "critical");
    EXPECT_EQ(overview.at("verdict"), "Your device is in danger\n1 threat");
    EXPECT_EQ(overview.at("lastScanResult"), "Threat detected");
    EXPECT_EQ(overview.at("databases"), "Databases are out of date.");
    std::vector<std::string> actions;
    for (const json& issue : overview.at("issues"))
        actions.push_back(issue.at("action"));
    EXPECT_EQ(actions, (std::vector<std::string>{"start-update", "enable-component", "none"}));
    EXPECT_EQ(overview.at("issues")[1].at("task"), "File_Monitoring");
}

TEST_F(AppInfoCommand, TellsNothingWhereTheServiceDoesNot) {
    locator->appInfo->result = ulk::eTimeout;
    EXPECT_NE(Tell(), 0);
    EXPECT_EQ(m_out.str(), "");
    EXPECT_NE(m_err.str().find("Cannot get the application information"), std::string::npos) << m_err.str();
}

} // namespace
} // namespace tfs::control
