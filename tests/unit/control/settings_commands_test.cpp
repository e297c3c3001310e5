// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/failure.h>
#include <tests/unit/control/program_fixture.h>
#include <tests/unit/service/temp_folder.h>

#include <algorithm>

namespace tfs::control {
namespace {

using nlohmann::json;
using settings::ChangeItem;
using ulk::Ptr;

class SettingsCommands : public test::ProgramTest {
protected:
    test::FakeSettings& Service() { return *locator->settings; }

    service::tests::TempFolder m_folder;
};

TEST_F(SettingsCommands, TellsAllSettingsOrTheNamedOnes) {
    Service().settings.useTsn = types::TsnUsage::Basic;
    Service().settings.traceFolder = "/evil\x1b[2J\n";
    ASSERT_EQ(Run({"--get-app-settings"}), 0);
    EXPECT_NE(m_out.str().find("UseTSN=Basic\n"), std::string::npos) << m_out.str();
    EXPECT_NE(m_out.str().find("TraceFolder=/evil\\x1b[2J\\n\n"), std::string::npos) << m_out.str();
    ASSERT_EQ(Run({"--get-app-settings", "UseSyslog", "UseTSN"}), 0);
    EXPECT_EQ(m_out.str(), "UseSyslog=no\nUseTSN=Basic\n");
    ASSERT_EQ(Run({"--get-app-settings", "MaxEventsNumber", "--json"}), 0);
    EXPECT_EQ(Json(), json::parse(R"({"settings": {"MaxEventsNumber": "500000"}})"));

    EXPECT_EQ(Run({"--get-app-settings", "UseTSN", "No\nSuch"}), 78);
    EXPECT_EQ(m_out.str(), "");
    EXPECT_EQ(m_err.str(), "tesl-control: Unknown setting 'No\\nSuch'.\n");
}

TEST_F(SettingsCommands, WhatIsToldCanBeSetAgain) {
    ASSERT_EQ(Run({"--get-app-settings"}), 0);
    const std::string path = m_folder.Write("saved.ini", m_out.str());
    ASSERT_EQ(Run({"--set-app-settings", "--file", path}), 0);
    const auto items = Service().asked.at(0).items;
    ASSERT_EQ(Run({"--get-app-settings", "--json"}), 0);
    json sent;
    for (const ChangeItem& item : items)
        sent[item.key] = item.value;
    EXPECT_EQ(sent, Json().at("settings"));
}

TEST_F(SettingsCommands, SendsWhatIsGiven) {
    ASSERT_EQ(Run({"--set-app-settings", "UseTSN=Basic", "TraceFolder=/a=b", "--accept-tsn", "--json"}), 0);
    EXPECT_EQ(Service().asked.at(0).items, (std::vector<ChangeItem>{{"UseTSN", "Basic"}, {"TraceFolder", "/a=b"}}));
    EXPECT_TRUE(Service().acceptedTsn);
    EXPECT_EQ(Json().at("changed"), true);
    ASSERT_EQ(Run({"--set-app-settings", "--", "UseSyslog="}), 0);
    EXPECT_EQ(Service().asked.at(1).items, (std::vector<ChangeItem>{{"UseSyslog", ""}}));
    EXPECT_FALSE(Service().acceptedTsn);
    EXPECT_EQ(m_out.str(), "The settings were changed.\n");
}

TEST_F(SettingsCommands, EachRefusalHasItsCodeAndText) {
    const struct {
        result_t result;
        int code;
        const char* name;
        const char* text;
    } cases[] = {
        {sInvalidSettings, 78, "invalid-settings", "Unknown setting 'a b'. Unknown setting 'c'."},
        {eBlockedByPolicy, 4, "blocked-by-policy", "Unknown setting 'a b'. Unknown setting 'c'."},
        {eTsnNotAccepted, 5, "tsn-not-accepted", "Unknown setting 'a b'. Unknown setting 'c'."},
        {ulk::eAccessDenied, 77, "denied", "Cannot change the settings: Access denied"},
        {ulk::eTimeout, 75, "timeout", "Cannot change the settings: "},
        {ulk::ResultFromErrno(ENOSPC), 70, "internal", "Cannot change the settings: "},
    };
    Service().messages = {{"UnknownSettings1", {u"a\nb"}}, {"UnknownSettings1", {u"c"}}};
    for (const auto& [result, code, name, text] : cases) {
        Service().setResult = result;
        EXPECT_EQ(Run({"--set-app-settings", "a=b"}), code);
        EXPECT_EQ(m_out.str(), "");
        const std::string told = m_err.str();
        EXPECT_EQ(told.find(std::string("tesl-control: ") + text), 0u) << told;
        EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
        EXPECT_EQ(Run({"--set-app-settings", "a=b", "--json"}), code);
        EXPECT_EQ(Json().at("error").at("code"), name);
    }
    EXPECT_EQ(Run({"--set-app-settings", "--file", m_folder.File("missing")}), 78);
    EXPECT_EQ(m_err.str(), "tesl-control: The file does not exist.\n");
}

} // namespace
} // namespace tfs::control
