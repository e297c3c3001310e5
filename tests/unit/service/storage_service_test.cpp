// SPDX-License-Identifier: GPL-2.0-or-later
// Storage in a whole service: its settings, and objects from an earlier run.
#include <service/storage/object_taker.h>
#include <tests/unit/service/service_fixture.h>
#include <tests/unit/service/storage_fixture.h>

namespace tfs::service::app {
namespace {

constexpr rpc::Caller Root{0, true, 0};
constexpr rpc::Caller Stranger{storage::Nobody, false, 0};

struct StorageServiceTest : testing::Test {
    void Start() {
        ServiceOptions options;
        options.developmentRun = true;
        service = std::make_unique<ServiceApp>(PathsIn(folder), options);
        std::string problem;
        ASSERT_EQ(service->Start(problem), ulk::sOk) << problem;
    }
    void Set(const std::string& key, const std::string& value) {
        std::vector<tfs::settings::ValidationMessage> messages;
        EXPECT_EQ(service->BlockingApi().SetAppSettings({::geteuid(), true, 0},
                                                        {tfs::settings::AppSettings::TypeNumber, {{key, value}}, false},
                                                        false, messages),
                  ulk::sOk);
    }
    std::size_t Count(const rpc::Caller& caller) {
        BackupItems items;
        EXPECT_EQ(service->BackupApi().QueryBackup(caller, {}, items), ulk::sOk);
        return items.size();
    }

    tests::TempFolder folder;
    std::unique_ptr<ServiceApp> service;
};

TEST_F(StorageServiceTest, LimitsCountAtOnce) {
    Start();
    tfs::settings::BackupSettings limits;
    ASSERT_EQ(service->BackupApi().GetBackupSettings(limits), ulk::sOk);
    EXPECT_EQ(limits, (tfs::settings::BackupSettings{30, 0}));
    Set("BackupSizeLimit", "5");
    Set("DaysToLive", "7");
    ASSERT_EQ(service->BackupApi().GetBackupSettings(limits), ulk::sOk);
    EXPECT_EQ(limits, (tfs::settings::BackupSettings{7, 5}));
}

TEST_F(StorageServiceTest, ObjectsOfAnEarlierRunAreSeenByWhoMayReadReports) {
    Start();
    service->Stop();
    {
        storage::Vault vault(folder.File("var/private/storage/objects/"));
        vault.Open(1000);
        storage::TakeObject(vault, storage::Found(folder.Write("bad", "bad")), 0, std::time(nullptr));
    }
    service.reset();
    Start();
    EXPECT_EQ(Count(Root), 1u);
    EXPECT_EQ(Count(Stranger), 1u);
    Set("UIReportsForRootOnly", "yes");
    EXPECT_EQ(Count(Root), 1u);
    EXPECT_EQ(Count(Stranger), 0u);
    EXPECT_EQ(service->BackupApi().RemoveFromBackup(Stranger, {}), ulk::eAccessDenied);
    EXPECT_EQ(service->BackupApi().RemoveFromBackup(Root, {}), ulk::sOk);
    EXPECT_EQ(Count(Root), 0u);
    EXPECT_EQ(CountOf(service->Events(), types::EventName::ObjectRemovedFromBackup), 1u);
    EXPECT_EQ(service->BackupApi().RestoreFromBackup(Root, 1), ulk::eNotFound);
}

} // namespace
} // namespace tfs::service::app
