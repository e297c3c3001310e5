// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/settings/settings_store.h>
#include <tests/unit/foundation/test_services.h>
#include <tests/unit/service/temp_folder.h>
#include <tests/unit/service/waiting.h>
#include <tfs_common/validation_text.h>

#include <atomic>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace tfs::service::settings {
namespace {

using tests::Content;
using tests::TempFolder;
using tfs::settings::AppSettings;
using tfs::settings::ChangeItem;
using tfs::settings::SettingsChangeList;
using tfs::settings::ValidationMessage;
using types::TraceLevel;
using types::TsnUsage;

constexpr std::uint32_t Uid = 1234;

SettingsChangeList Changes(std::vector<ChangeItem> items) { return {AppSettings::TypeNumber, std::move(items), false}; }

Policy Locking(std::vector<ChangeItem> items) {
    Policy policy;
    policy.inForce = true;
    policy.name = "Office";
    policy.settings = Changes(std::move(items));
    return policy;
}

struct SettingsStoreTest : testing::Test {
    SettingsStoreTest() { folder.Write("statement", "what is sent"); }

    void Open() {
        store = std::make_unique<SettingsStore>(
            SettingsStore::Options{path, folder.File("statement"),
                                   ulk::Ptr<ulk::IServiceLocator>(services.locator.Get())},
            LoadSettings(path));
        store->Listen([this](const SettingsChange& change) { told.push_back(change); });
    }
    result_t Apply(std::vector<ChangeItem> items, bool acceptTsn = false) {
        return store->Apply(Changes(std::move(items)), acceptTsn, Uid, messages);
    }
    /// Nothing is told, in force or on disk that wasn't before.
    void ExpectRefused(std::vector<ChangeItem> items, result_t result, const char* named) {
        const auto before = *store->Current();
        const std::string content = Content(path);
        const std::size_t toldBefore = told.size();
        EXPECT_EQ(Apply(items), result) << items.front().key;
        EXPECT_EQ(*store->Current(), before);
        EXPECT_EQ(Content(path), content);
        EXPECT_EQ(told.size(), toldBefore);
        const std::string text = localization::ValidationText(messages);
        EXPECT_NE(text.find(named), std::string::npos) << text;
    }

    ulk::test::Services services;
    TempFolder folder;
    std::string path = folder.File("service.json");
    std::unique_ptr<SettingsStore> store;
    std::vector<SettingsChange> told;
    std::vector<ValidationMessage> messages;
};

TEST_F(SettingsStoreTest, AChangeIsInForceOnDiskAndToldOnce) {
    Open();
    ASSERT_EQ(Apply({{"TraceLevel", "Detailed"}, {"MaxEventsNumber", "2000"}, {"MaxEventsNumber", "3000"}}), ulk::sOk);
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(store->Current()->application.maxEventsNumber, 3000u);
    EXPECT_EQ(LoadSettings(path).settings.application, store->Current()->application);
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_EQ(told[0].uid, Uid);
    EXPECT_EQ(told[0].before->application, AppSettings());
    EXPECT_EQ(told[0].items, (std::vector<ChangeItem>{{"TraceLevel", "Detailed"}, {"MaxEventsNumber", "3000"}}));

    // What is so already is no change.
    ASSERT_EQ(Apply({{"TraceLevel", "Detailed"}}), ulk::sOk);
    EXPECT_EQ(told.size(), 1u);
    const std::string before = Content(path);
    EXPECT_EQ(store->Apply({AppSettings::TypeNumber, {}, true}, false, Uid, messages), ulk::sOk);
    EXPECT_EQ(Content(path), before);
}

TEST_F(SettingsStoreTest, ARefusalNamesItsCauseAndChangesNothing) {
    folder.Write("service.json", R"({"application": {"MaxEventsNumber": "2000"}})");
    Open();
    store->SetPolicy(Locking({{"UseSyslog", "yes"}}));
    told.clear();
    ExpectRefused({{"TraceLevel", "Detailed"}, {"NoSuchKey", "1"}}, sInvalidSettings, "NoSuchKey");
    ExpectRefused({{"TraceLevel", "Detailed"}, {"MaxEventsNumber", "7"}}, sInvalidSettings, "MaxEventsNumber");
    ExpectRefused({{"UseTSN", "basic"}}, sInvalidSettings, "UseTSN");
    ExpectRefused({{"EventsStoragePath", "relative"}}, sInvalidSettings, "EventsStoragePath");
    ExpectRefused({{"EventsStoragePath", "/folder/"}}, sInvalidSettings, "EventsStoragePath");
    ExpectRefused({{"TraceFolder", "/\xff"}}, sInvalidSettings, "TraceFolder");
    ExpectRefused({{"TraceLevel", "Detailed"}, {"UseSyslog", "yes"}}, eBlockedByPolicy, "UseSyslog");
    ExpectRefused({{"UseSyslog", "Perhaps"}}, sInvalidSettings, "UseSyslog"); // sense is asked for before leave
    ExpectRefused({{"TraceLevel", "Detailed"}, {"UseTSN", "Basic"}}, eTsnNotAccepted, "statement");

    EXPECT_EQ(Apply(std::vector<ChangeItem>(5000, {"UseSyslog", "yes"})), eBlockedByPolicy);
    EXPECT_EQ(messages.size(), 1u); // an answer has little room

    services.tracer->lines.clear();
    EXPECT_EQ(Apply({{"UseTSN", "basic"}}), sInvalidSettings);
    ASSERT_FALSE(services.tracer->lines.empty());
    EXPECT_EQ(services.tracer->lines.back(), "Cannot update settings: Cannot parse value 'basic' for setting 'UseTSN'");

    EXPECT_EQ(store->Apply(Changes({}), false, Uid, messages), sInvalidSettings);
    EXPECT_EQ(localization::ValidationText(messages), "Could not parse provided settings");
    EXPECT_EQ(store->Apply({0x12345678, {{"TraceLevel", "None"}}, false}, false, Uid, messages), ulk::eInvalidType);
    EXPECT_TRUE(told.empty());
}

TEST_F(SettingsStoreTest, ParticipationNeedsTheStatementThatIsThereNow) {
    Open();
    EXPECT_EQ(Apply({{"UseTSN", "Basic"}}), eTsnNotAccepted);
    EXPECT_EQ(Apply({{"UseTSN", "Off"}}), ulk::sOk);
    EXPECT_FALSE(LoadSettings(path).settings.statement);

    ASSERT_EQ(Apply({{"UseTSN", "Basic"}}, true), ulk::sOk);
    const auto accepted = LoadSettings(path).settings.statement;
    ASSERT_TRUE(accepted);
    EXPECT_EQ(accepted->sha256, "f4ad6f8b54c2324aad996598ce204964af294dcdd4d73f2cc732c6b9b83b2f12");
    EXPECT_EQ(accepted->date.size(), std::string("2026-11-21T01:55:06Z").size());
    EXPECT_EQ(Apply({{"UseTSN", "Off"}}), ulk::sOk);
    EXPECT_EQ(Apply({{"UseTSN", "Extended"}}), ulk::sOk); // accepted before

    Open(); // and is so after a restart
    EXPECT_EQ(Apply({{"UseTSN", "SaveStatisticsToFile"}}), ulk::sOk);
    folder.Write("statement", "more is sent");
    EXPECT_EQ(Apply({{"UseTSN", "Basic"}}), eTsnNotAccepted);
    EXPECT_EQ(store->Current()->application.useTsn, TsnUsage::SaveStatisticsToFile);
    EXPECT_EQ(Apply({{"UseTSN", "Basic"}}, true), ulk::sOk);

    // Another text is accepted for the same participation: that is told as well.
    folder.Write("statement", "still more is sent");
    told.clear();
    ASSERT_EQ(Apply({{"UseTSN", "Basic"}}, true), ulk::sOk);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_EQ(told[0].items, (std::vector<ChangeItem>{{"UseTSN", "Basic"}}));
    EXPECT_EQ(told[0].uid, Uid);
    ASSERT_EQ(Apply({{"UseTSN", "Basic"}}, true), ulk::sOk);
    EXPECT_EQ(told.size(), 1u);

    ASSERT_EQ(::unlink(folder.File("statement").c_str()), 0); // nobody can have read it
    EXPECT_EQ(Apply({{"UseTSN", "Extended"}}, true), eTsnNotAccepted);
    EXPECT_EQ(Apply({{"TraceLevel", "Detailed"}}), ulk::sOk);
}

TEST_F(SettingsStoreTest, AFailedWriteLeavesEverythingAndGivesTheSystemsCode) {
    folder.Write("service.json", R"({"application": {"MaxEventsNumber": "2000"}})");
    Open();
    const std::string content = Content(path);
    ASSERT_EQ(::mkdir((path + ".new").c_str(), 0700), 0); // stands where the new content would be written
    EXPECT_EQ(Apply({{"MaxEventsNumber", "3000"}}), ulk::ResultFromErrno(EISDIR));
    EXPECT_EQ(store->Current()->application.maxEventsNumber, 2000u);
    EXPECT_EQ(Content(path), content);
    EXPECT_TRUE(told.empty());
    ASSERT_EQ(::rmdir((path + ".new").c_str()), 0);
    EXPECT_EQ(Apply({{"MaxEventsNumber", "3000"}}), ulk::sOk);
}

TEST_F(SettingsStoreTest, APolicyLiesOverWhatIsStoredAndLeavesItWhenItGoes) {
    Open();
    ASSERT_EQ(Apply({{"TraceLevel", "NotDetailed"}}), ulk::sOk);
    const std::string content = Content(path);
    told.clear();

    Policy policy = Locking({{"TraceLevel", "Detailed"}, {"UseSyslog", "yes"}});
    policy.allowUserManageLocalTasks = false;
    store->SetPolicy(policy);
    EXPECT_EQ(store->Current()->application.traceLevel, TraceLevel::Detailed);
    EXPECT_FALSE(store->Current()->allowUserManageLocalTasks);
    EXPECT_TRUE(store->Current()->allowUserManageGroupTasks);
    EXPECT_TRUE(store->Current()->isUnderPolicy);
    EXPECT_EQ(store->Current()->policyName, "Office");
    EXPECT_EQ(Content(path), content);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_FALSE(told[0].uid);
    EXPECT_EQ(told[0].items.size(), 2u);
    EXPECT_EQ(Apply({{"TraceLevel", "None"}}), eBlockedByPolicy);

    store->SetPolicy(policy);
    EXPECT_EQ(told.size(), 1u); // the same one again
    ASSERT_EQ(Apply({{"MaxEventsNumber", "7000"}}), ulk::sOk);
    EXPECT_EQ(LoadSettings(path).settings.application.traceLevel, TraceLevel::NotDetailed);

    store->SetPolicy({});
    EXPECT_EQ(store->Current()->application.traceLevel, TraceLevel::NotDetailed);
    EXPECT_EQ(store->Current()->application.maxEventsNumber, 7000u);
    EXPECT_TRUE(store->Current()->allowUserManageLocalTasks);
    EXPECT_FALSE(store->Current()->isUnderPolicy);
    EXPECT_EQ(Apply({{"TraceLevel", "None"}}), ulk::sOk);
}

TEST_F(SettingsStoreTest, ManyChangersAreToldInOrderAndReadersNeverSeeHalfAChange) {
    Open();
    std::atomic<bool> done{false};
    std::atomic<bool> torn{false};
    std::thread reader([&] {
        while (!done) {
            const auto current = store->Current();
            if (current->application.maxEventsNumber != current->application.limitNumberOfScanFileTasks &&
                current->application != AppSettings())
                torn = true;
        }
    });
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back([&, writer] {
            std::vector<ValidationMessage> own;
            for (int i = 0; i < 25; ++i) {
                const std::string value = std::to_string(1000 + writer * 25 + i);
                EXPECT_EQ(store->Apply(Changes({{"MaxEventsNumber", value}, {"LimitNumberOfScanFileTasks", value}}),
                                       false, Uid, own),
                          ulk::sOk);
            }
        });
    for (std::thread& writer : writers)
        writer.join();
    done = true;
    reader.join();
    EXPECT_FALSE(torn);
    ASSERT_EQ(told.size(), 100u);
    for (std::size_t i = 1; i < told.size(); ++i)
        EXPECT_EQ(told[i].before, told[i - 1].after);
    EXPECT_EQ(told.back().after, store->Current());
    EXPECT_EQ(LoadSettings(path).settings.application, store->Current()->application);
}

TEST_F(SettingsStoreTest, AListenerMayChangeSettingsToo) {
    Open();
    bool done = false;
    store->Listen([&](const SettingsChange&) {
        std::vector<ValidationMessage> own;
        if (std::exchange(done, true))
            return;
        EXPECT_EQ(store->Apply(Changes({{"UseSyslog", "yes"}}), false, Uid, own), ulk::sOk);
    });
    ASSERT_EQ(Apply({{"TraceLevel", "Detailed"}}), ulk::sOk);
    ASSERT_EQ(told.size(), 2u);
    EXPECT_EQ(told[1].items, (std::vector<ChangeItem>{{"UseSyslog", "yes"}}));
}

} // namespace
} // namespace tfs::service::settings
