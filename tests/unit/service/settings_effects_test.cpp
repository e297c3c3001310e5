// SPDX-License-Identifier: GPL-2.0-or-later
// What becomes of changed settings and of policies in a whole service.
#include <tests/unit/service/service_fixture.h>

#include <mutex>
#include <unistd.h>

namespace tfs::service::app {
namespace {

using tests::Content;
using tests::Eventually;
using tests::TempFolder;
using tfs::settings::AppSettings;
using tfs::settings::SettingsChangeList;
using types::AdditionalName;
using types::EventName;

class RecordingLog final : public ISystemLog {
public:
    void Write(int, const std::string& line) override {
        const std::lock_guard lock(m_mutex);
        m_lines += line + "\n";
    }
    std::string Lines() {
        const std::lock_guard lock(m_mutex);
        return m_lines;
    }

private:
    std::mutex m_mutex;
    std::string m_lines;
};

struct SettingsEffectsTest : testing::Test {
    SettingsEffectsTest() {
        folder.Write("statement", "what is sent");
        ServiceOptions options;
        options.developmentRun = true;
        options.systemLog = log;
        service = std::make_unique<ServiceApp>(PathsIn(folder), options);
        std::string problem;
        EXPECT_EQ(service->Start(problem), ulk::sOk) << problem;
    }

    result_t Set(const std::string& key, const std::string& value, bool acceptTsn = false) {
        std::vector<tfs::settings::ValidationMessage> messages;
        return service->BlockingApi().SetAppSettings(
            {::geteuid(), true, 0}, {AppSettings::TypeNumber, {{key, value}}, false}, acceptTsn, messages);
    }
    AppSettings Settings() {
        AppSettings settings;
        EXPECT_EQ(service->Api().GetAppSettings(settings), ulk::sOk);
        return settings;
    }
    std::vector<Event> EventsOf(EventName::Type type) {
        std::vector<Event> stored;
        EXPECT_EQ(service->Events().ReadStored(0, service->Events().End().lastStoredId, 10000, stored), ulk::sOk);
        std::erase_if(stored, [type](const Event& event) { return event.type != type; });
        return stored;
    }
    std::string TextOf(const Event& event, AdditionalName::Type name) {
        ulk::types::string16_t text;
        EXPECT_EQ(event.GetAdditionalData(name, text), ulk::sOk);
        return ulk::text::ToUtf8Lossy(text);
    }
    void WritePolicy(const std::string& name, const std::string& content) { app::WritePolicy(folder, name, content); }
    bool IsUnderPolicy(const char16_t* name) {
        PolicyState state;
        return service->Api().GetPolicy(state) == ulk::sOk && state.name == name;
    }

    TempFolder folder;
    std::shared_ptr<RecordingLog> log = std::make_shared<RecordingLog>();
    std::unique_ptr<ServiceApp> service;
};

TEST_F(SettingsEffectsTest, AChangeIsPublishedWithItsAuthor) {
    ASSERT_EQ(Set("UseTSN", "Basic", true), ulk::sOk);
    EXPECT_EQ(Settings().useTsn, types::TsnUsage::Basic);
    const auto changed = EventsOf(EventName::ApplicationSettingsChanged);
    ASSERT_EQ(changed.size(), 1u);
    EXPECT_EQ(TextOf(changed[0], AdditionalName::Settings), "UseTSN=Basic");
    EXPECT_EQ(changed[0].initiator, types::EventInitiator::User);
    ASSERT_TRUE(changed[0].initiatorUser);
    EXPECT_EQ(changed[0].initiatorUser->uid, ::geteuid());
    const auto network = EventsOf(EventName::TsnStateChanged);
    ASSERT_EQ(network.size(), 1u);
    EXPECT_GT(network[0].id, changed[0].id);
    EXPECT_EQ(TextOf(network[0], AdditionalName::TsnState), "2");

    ASSERT_EQ(Set("UseSyslog", "yes"), ulk::sOk);
    EXPECT_EQ(EventsOf(EventName::TsnStateChanged).size(), 1u);
    EXPECT_EQ(Set("UseSyslog", "Perhaps"), sInvalidSettings);
    EXPECT_EQ(EventsOf(EventName::ApplicationSettingsChanged).size(), 2u);

    folder.Write("statement", "more is sent");
    ASSERT_EQ(Set("UseTSN", "Basic", true), ulk::sOk);
    const auto accepted = EventsOf(EventName::ApplicationSettingsChanged);
    ASSERT_EQ(accepted.size(), 3u);
    EXPECT_EQ(TextOf(accepted[2], AdditionalName::Settings), "UseTSN=Basic");
    EXPECT_EQ(EventsOf(EventName::TsnStateChanged).size(), 1u);
}

TEST_F(SettingsEffectsTest, ReportsAreKeptFromOrdinaryUsersWhenTheSettingSaysSo) {
    std::uint64_t count = 0;
    EXPECT_NE(service->BlockingApi().GetEventCount({4321, false, 0}, count), ulk::eAccessDenied);
    ASSERT_EQ(Set("UIReportsForRootOnly", "yes"), ulk::sOk);
    Event event;
    EXPECT_EQ(service->BlockingApi().GetEventCount({4321, false, 0}, count), ulk::eAccessDenied);
    EXPECT_EQ(service->BlockingApi().GetOldestEvent({4321, false, 0}, event), ulk::eAccessDenied);
    EXPECT_EQ(service->BlockingApi().GetEvent({4321, false, 0}, 1, event), ulk::eAccessDenied);
    EXPECT_NE(service->BlockingApi().GetEventCount({0, true, 0}, count), ulk::eAccessDenied);
    EXPECT_FALSE(service->Api().AreReportsAllowed({4321, true, 0}));
    EXPECT_TRUE(service->Api().AreReportsAllowed({0, false, 0}));
}

TEST_F(SettingsEffectsTest, CustomScansAreLimitedAtOnce) {
    const rpc::Caller user{4321, false, 0};
    core::TaskInfo task;
    ASSERT_EQ(Set("LimitNumberOfScanFileTasks", "2"), ulk::sOk);
    EXPECT_EQ(service->Api().CreateScanTask(user, ScanSettings{{"/a"}}, task), ulk::sOk);
    EXPECT_EQ(service->Api().CreateScanTask(user, ScanSettings{{"/b"}}, task), ulk::sOk);
    EXPECT_EQ(service->Api().CreateScanTask(user, ScanSettings{{"/c"}}, task), ulk::eInsufficientResources);
    ASSERT_EQ(Set("LimitNumberOfScanFileTasks", "3"), ulk::sOk);
    EXPECT_EQ(service->Api().CreateScanTask(user, ScanSettings{{"/c"}}, task), ulk::sOk);
    ASSERT_EQ(Set("LimitNumberOfScanFileTasks", "0"), ulk::sOk);
    EXPECT_EQ(service->Api().CreateScanTask({5432, false, 0}, ScanSettings{{"/d"}}, task), ulk::eInsufficientResources);
}

TEST_F(SettingsEffectsTest, TheEventStoreShrinksAtOnce) {
    const auto publish = [&](int count) {
        for (int i = 0; i < count; ++i) {
            Event event;
            event.type = EventName::TaskCreated;
            service->Events().Publish(std::move(event));
        }
    };
    publish(1500);
    ASSERT_TRUE(Eventually([&] { return EventsOf(EventName::TaskCreated).size() == 1500; }));
    ASSERT_EQ(Set("MaxEventsNumber", "1000"), ulk::sOk);
    publish(1);
    EXPECT_TRUE(Eventually([&] { return EventsOf(EventName::TaskCreated).size() < 1000; }));
}

TEST_F(SettingsEffectsTest, StoredEventsGoToTheSystemLogWhileItIsAskedFor) {
    // There is no scanner here, which is told when the signatures have been looked for.
    ASSERT_TRUE(Eventually([&] { return !EventsOf(EventName::AVBasesIntegrityCheckFailed).empty(); }));
    ASSERT_EQ(Set("UseSyslog", "yes"), ulk::sOk);
    EXPECT_TRUE(Eventually([&] { return log->Lines() == "ApplicationSettingsChanged: Settings=UseSyslog=yes\n"; }))
        << log->Lines();
    ASSERT_EQ(Set("UseSyslog", "no"), ulk::sOk);
    ASSERT_EQ(Set("TraceMaxFileCount", "7"), ulk::sOk);
    ASSERT_EQ(Set("UseSyslog", "yes"), ulk::sOk);
    service->Stop(); // what is published by then is written
    EXPECT_EQ(log->Lines().find("TraceMaxFileCount"), std::string::npos) << log->Lines();
    EXPECT_NE(log->Lines().find("ApplicationStopped: "), std::string::npos) << log->Lines();
}

TEST_F(SettingsEffectsTest, APolicyLocksTellsAndLetsGo) {
    ASSERT_EQ(Set("TraceMaxFileCount", "5"), ulk::sOk);
    WritePolicy("a.ini", "TraceMaxFileCount=9\n[Policy]\nName=Office\nAllowUserManageLocalTasks=no\n");
    ASSERT_TRUE(Eventually([&] { return IsUnderPolicy(u"Office"); }));
    EXPECT_EQ(Settings().traceMaxFileCount, 9u);
    EXPECT_EQ(Set("TraceMaxFileCount", "6"), eBlockedByPolicy);
    bool local = true;
    bool group = false;
    EXPECT_EQ(service->Api().IsUserManageTasksAllowed(local, group), ulk::sOk);
    EXPECT_FALSE(local);
    EXPECT_TRUE(group);
    ASSERT_TRUE(Eventually([&] { return EventsOf(EventName::ApplicationSettingsChanged).size() == 2; }));
    const Event told = EventsOf(EventName::ApplicationSettingsChanged)[1];
    EXPECT_EQ(TextOf(told, AdditionalName::Settings),
              "TraceMaxFileCount=9, AllowUserManageLocalTasks=no, Policy=Office");
    EXPECT_FALSE(told.initiatorUser);
    EXPECT_EQ(service->Api().StartTask({4321, false, 0}, u"2"), ulk::eAccessDenied);
    core::TaskInfo task;
    EXPECT_EQ(service->Api().CreateScanTask({4321, false, 0}, ScanSettings{{"/a"}}, task), ulk::eAccessDenied);

    ASSERT_EQ(::unlink(folder.File("policy.d/a.ini").c_str()), 0);
    PolicyState state;
    ASSERT_TRUE(Eventually([&] { return service->Api().GetPolicy(state) == ulk::sFalse; }));
    EXPECT_EQ(Settings().traceMaxFileCount, 5u);
    EXPECT_EQ(Set("TraceMaxFileCount", "6"), ulk::sOk);
}

TEST_F(SettingsEffectsTest, APolicyCountsFromTheStart) {
    service->Stop();
    WritePolicy("a.ini", "EventsStoragePath=/elsewhere/e.db\n");
    std::string problem;
    ServiceOptions options;
    options.developmentRun = true;
    service = std::make_unique<ServiceApp>(PathsIn(folder), options);
    ASSERT_EQ(service->Start(problem), ulk::sOk) << problem;
    EXPECT_TRUE(IsUnderPolicy(u"a"));
    EXPECT_TRUE(std::filesystem::exists(folder.File("elsewhere/e.db")));
    EXPECT_TRUE(EventsOf(EventName::ApplicationSettingsChanged).empty());
}

TEST_F(SettingsEffectsTest, WhatIsNotAppliedOfAPolicyIsToldOnce) {
    WritePolicy("bad.ini", "NoSuchKey=1\n");
    ASSERT_TRUE(Eventually([&] { return EventsOf(EventName::PolicyNotApplied).size() == 1; }));
    const Event told = EventsOf(EventName::PolicyNotApplied)[0];
    EXPECT_EQ(TextOf(told, AdditionalName::Path), folder.File("policy.d/bad.ini"));
    EXPECT_NE(TextOf(told, AdditionalName::Reason).find("NoSuchKey"), std::string::npos);
    PolicyState state;
    EXPECT_EQ(service->Api().GetPolicy(state), ulk::sFalse);

    WritePolicy("good.ini", "UseSyslog=yes\n");
    ASSERT_TRUE(Eventually([&] { return IsUnderPolicy(u"good"); }));
    WritePolicy("bad.ini", "MaxEventsNumber=1\n"); // another fault
    ASSERT_TRUE(Eventually([&] { return EventsOf(EventName::PolicyNotApplied).size() == 2; }));
    WritePolicy("bad.ini", "MaxEventsNumber=5000\n");
    ASSERT_TRUE(Eventually([&] { return Settings().maxEventsNumber == 5000; }));
    EXPECT_EQ(EventsOf(EventName::PolicyNotApplied).size(), 2u);
}

} // namespace
} // namespace tfs::service::app
