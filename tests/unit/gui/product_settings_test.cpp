// SPDX-License-Identifier: GPL-2.0-or-later
#include "gui_fixture.h"

#include <foundation/exceptions.h>
#include <gui/common/app_settings.h>
#include <gui/settings_manager/product_settings_actions.h>

namespace tfs::gui {
namespace {

using types::TraceLevel;
using types::TsnUsage;

using AppSettingsTest = test::GuiTest;

TEST_F(AppSettingsTest, aModeTravelsUnderItsNameAndAcceptsTheStatementOnlyWhenItIsOn) {
    app_settings::ChangeTSNState(TsnUsage::Basic);
    app_settings::ChangeTSNState(TsnUsage::Extended);
    app_settings::ChangeTSNState(TsnUsage::Off);
    EXPECT_EQ(m_app.settings->Changes(),
              (std::vector<std::string>{"1611243813: UseTSN=Basic accepted", "1611243813: UseTSN=Extended accepted",
                                        "1611243813: UseTSN=Off"}));
    EXPECT_EQ(m_app.tracer->Count(ulk::level::Detail, "ChangeTSNState(tfs::types::TsnUsage::Type): Basic"), 1u);
    m_app.settings->useTsn = TsnUsage::SaveStatisticsToFile;
    EXPECT_EQ(app_settings::GetTSNState(), TsnUsage::SaveStatisticsToFile);
}

TEST_F(AppSettingsTest, failuresThrowWithTheTextOfTheirStep) {
    const auto textOf = [](auto call) {
        try {
            call();
        } catch (const ulk::CheckResultFailedException& e) {
            return ulk::text::ToUtf8Lossy(e.Message());
        }
        return std::string("nothing thrown");
    };
    const auto change = [] { app_settings::ChangeTSNState(TsnUsage::Basic); };
    const auto read = [] { (void)app_settings::GetTSNState(); };
    m_app.settings->setResult = eTsnNotAccepted;
    EXPECT_EQ(textOf(change), "Cannot change TSN state");
    m_app.settings->failure = ulk::eTimeout;
    EXPECT_EQ(textOf(read), "Cannot read application settings");
    m_app.settings->failure = ulk::sOk;
    m_app.settings->empty = true;
    EXPECT_EQ(textOf(read), "Cannot read application settings");
    m_app.remote->Remove(IAppSettingsHandler::Iid);
    EXPECT_EQ(textOf(change), "Cannot get interface from the service");
    EXPECT_EQ(textOf(read), "Cannot get interface from the service");
}

class ProductSettingsActionsTest : public test::GuiTest {
protected:
    ulk::IServiceLocator* Remote() { return m_app.remote.Get(); }
    result_t Set(const std::string& key, const std::string& value) {
        settings::SettingsChangeList changes;
        changes.items.push_back({key, value});
        return m_actions.SetAppSettings(Remote(), std::move(changes));
    }
    bool IsTraced(const std::string& part) { return m_app.tracer->Count(ulk::level::Failure, part) > 0; }

    ProductSettingsActions m_actions;
};

TEST_F(ProductSettingsActionsTest, readsOrLeavesWhatItWasGiven) {
    m_app.appInfo->appInfo.avRecordsCount = 7;
    AppInfo appInfo;
    EXPECT_EQ(m_actions.GetAppInfo(Remote(), appInfo), ulk::sOk);
    EXPECT_EQ(appInfo.avRecordsCount, 7u);
    settings::AppSettings settings;
    m_app.settings->useTsn = TsnUsage::Basic;
    EXPECT_EQ(m_actions.GetAppSettings(Remote(), settings), ulk::sOk);
    EXPECT_EQ(settings.useTsn, TsnUsage::Basic);
    EXPECT_TRUE(m_app.tracer->Lines(ulk::level::Failure).empty());

    m_app.appInfo->failure = ulk::eTimeout;
    EXPECT_EQ(m_actions.GetAppInfo(Remote(), appInfo), ulk::eTimeout);
    EXPECT_EQ(appInfo.avRecordsCount, 7u);
    EXPECT_TRUE(IsTraced("ULK_SUCCEEDED(_result)) failed: result = 0x80000221Cannot get application info"));
    EXPECT_TRUE(IsTraced("ULK_SUCCEEDED(_result)) failed: result = 0x80000221cannot get app info"));
    m_app.settings->failure = ulk::eTimeout;
    EXPECT_EQ(m_actions.GetAppSettings(Remote(), settings), ulk::eTimeout);
    EXPECT_EQ(settings.useTsn, TsnUsage::Basic);
    EXPECT_TRUE(IsTraced("Cannot get application settings"));
    m_app.settings->failure = ulk::sOk;
    m_app.settings->empty = true;
    EXPECT_TRUE(ULK_FAILED(m_actions.GetAppSettings(Remote(), settings)));
    EXPECT_TRUE(IsTraced("product_settings_actions.cpp:"));
    EXPECT_TRUE(IsTraced("(appSettingsHandler->GetAppSettings(holder)),(ULK_SUCCEEDED(_result)) failed: "
                         "result = 0x8000005dApplication settings are not valid"));
    EXPECT_TRUE(IsTraced("cannot get app settings"));

    m_app.remote->Remove(IAppInfoProvider::Iid);
    m_app.remote->Remove(IAppSettingsHandler::Iid);
    EXPECT_EQ(m_actions.GetAppInfo(Remote(), appInfo), ulk::eNoInterface);
    EXPECT_EQ(m_actions.GetAppSettings(Remote(), settings), ulk::eNoInterface);
    EXPECT_EQ(Set("a", "b"), ulk::eNoInterface);
    EXPECT_TRUE(IsTraced("Cannot get AppInfoProvider"));
    EXPECT_TRUE(IsTraced("Cannot get interface IAppSettingsHandler"));
}

TEST_F(ProductSettingsActionsTest, refusedSettingsAreCodes) {
    const std::pair<result_t, result_t> cases[] = {
        {sInvalidSettings, ulk::eInvalidArgument},
        {eBlockedByPolicy, eBlockedByPolicy},
        {eTsnNotAccepted, eTsnNotAccepted},
        {ulk::eAccessDenied, ulk::eAccessDenied},
        {ulk::eTimeout, ulk::eTimeout},
        {ulk::sOk, ulk::sOk},
    };
    for (const auto& [answer, expected] : cases) {
        m_app.tracer->Clear();
        m_app.settings->setResult = answer;
        EXPECT_EQ(Set("UseSyslog", "yes"), expected);
        EXPECT_EQ(IsTraced("cannot set app settings"), ULK_FAILED(expected)) << expected;
    }
    EXPECT_EQ(m_app.settings->Changes().back(), "1611243813: UseSyslog=yes");
    EXPECT_EQ(m_actions.SetAppSettings(Remote(), {}), ulk::eInvalidArgument);
    EXPECT_TRUE(IsTraced("settings_request.cpp:"));
    EXPECT_TRUE(IsTraced("(action->Exec(remoteSl)),(ULK_SUCCEEDED(_result)) failed: "
                         "result = 0x80000046Could not parse provided settings"));
}

TEST_F(ProductSettingsActionsTest, traceLevelAndDateOfTheSignatures) {
    EXPECT_EQ(m_actions.ChangeTraceLevel(Remote(), TraceLevel::Detailed), ulk::sOk);
    EXPECT_EQ(m_app.settings->Changes(), std::vector<std::string>{"1611243813: TraceLevel=Detailed"});
    EXPECT_EQ(m_app.tracer->Lines(ulk::level::Notable), std::vector<std::string>{"ChangeTraceLevel"});

    std::int64_t date = 5;
    m_app.appInfo->appInfo.avBasesDate = 1234;
    EXPECT_TRUE(ULK_FAILED(m_actions.GetAVBasesDate(Remote(), date)));
    EXPECT_EQ(date, 5);
    EXPECT_TRUE(IsTraced("AV bases is not loaded"));
    m_app.appInfo->appInfo.avBasesLoaded = true;
    EXPECT_EQ(m_actions.GetAVBasesDate(Remote(), date), ulk::sOk);
    EXPECT_EQ(date, 1234);
}

} // namespace
} // namespace tfs::gui
