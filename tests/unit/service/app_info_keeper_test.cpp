// SPDX-License-Identifier: GPL-2.0-or-later
// What the service tells of itself, under a clock that the test sets.
#include <foundation/datetime.h>
#include <service/app_info/app_info_keeper.h>
#include <tests/unit/service/fake_packages.h>
#include <tests/unit/service/task_registry_fixture.h>
#include <tests/unit/service/test_clock.h>

namespace tfs::service::app_info {
namespace {

namespace fs = std::filesystem;
using tasks::Recorder;
using tests::FakePackages;
using tests::Monday;
using tests::Script;
using tests::TempFolder;
using types::AdditionalName;
using types::EventName;

constexpr std::int64_t Day = 86400;

std::int64_t Ticks(std::int64_t seconds) { return ulk::datetime::TicksFromSeconds(seconds); }

class KeeperTest : public testing::Test {
protected:
    void Start() {
        m_keeper.emplace(
            AppInfoKeeper::Options{m_folder.File("tesl-scanner"), {{}, {}, m_packages.Options()}, 15}, m_clock,
            [this] {
                const std::lock_guard lock(m_mutex);
                return m_facts;
            },
            m_recorder, ulk::Ptr<ulk::ITracer>());
        m_keeper->Start();
        m_clock.NextWait();
    }
    void Load(std::int64_t date) {
        const std::lock_guard lock(m_mutex);
        m_facts = {true, Ticks(date), -1};
    }
    std::optional<std::int64_t> At(std::int64_t now) {
        m_clock.Set(now);
        return m_clock.NextWait();
    }
    std::vector<EventName::Type> Told() {
        std::vector<EventName::Type> types;
        for (const Event& event : m_recorder.Events())
            types.push_back(event.type);
        m_recorder.Clear();
        return types;
    }
    ApplicationUpdateState UpdateState() const {
        AppInfo info;
        m_keeper->Fill(info);
        return info.applicationUpdateState;
    }

    using Types = std::vector<EventName::Type>;
    const TempFolder m_folder;
    FakePackages m_packages;
    tests::TestClock m_clock;
    std::mutex m_mutex;
    ScannerFacts m_facts;
    Recorder m_recorder;
    std::optional<AppInfoKeeper> m_keeper;
};

TEST_F(KeeperTest, DatabasesThatComeOutOfDateAreToldOncePerCrossing) {
    Start();
    EXPECT_EQ(Told(), Types()) << "nothing is loaded yet";
    Load(Monday - Day);
    EXPECT_EQ(At(Monday), Monday + 15);
    EXPECT_EQ(At(Monday + 2 * Day - 5), Monday + 2 * Day) << "it looks at the moment itself";
    EXPECT_EQ(Told(), Types());
    At(Monday + 2 * Day);
    EXPECT_EQ(Told(), Types{EventName::AVBasesAreOutOfDate});
    At(Monday + 7 * Day - 1);
    EXPECT_EQ(Told(), Types()) << "seven days old, and told already";
    At(Monday + 7 * Day);
    const std::vector<Event> events = m_recorder.Events();
    EXPECT_EQ(Told(), Types{EventName::AVBasesAreTotallyOutOfDate});
    ulk::types::variant_t date;
    ASSERT_EQ(events.at(0).GetAdditionalData(AdditionalName::AVBasesDate, date), ulk::sOk);
    EXPECT_EQ(date.As<ulk::types::FileTime>()->ticks, Ticks(Monday - Day));
    At(Monday + 100 * Day);
    EXPECT_EQ(Told(), Types());

    Load(Monday + 100 * Day); // updated
    At(Monday + 100 * Day);
    EXPECT_EQ(Told(), Types());
    At(Monday + 200 * Day); // the clock jumps
    EXPECT_EQ(Told(), Types{EventName::AVBasesAreTotallyOutOfDate});
    At(Monday + 99 * Day); // and is put back: they are from the future
    EXPECT_EQ(Told(), Types());
    At(Monday + 104 * Day);
    EXPECT_EQ(Told(), Types{EventName::AVBasesAreOutOfDate});
}

TEST_F(KeeperTest, OldDatabasesAreToldAtTheStartAndNotWhileTheScannerIsAway) {
    Load(Monday - 9 * Day);
    Start();
    EXPECT_EQ(Told(), Types{EventName::AVBasesAreTotallyOutOfDate});
    {
        const std::lock_guard lock(m_mutex);
        m_facts.basesLoaded = false;
    }
    m_keeper->Wake();
    m_clock.NextWait();
    Load(Monday - 9 * Day);
    m_keeper->Wake();
    m_clock.NextWait();
    EXPECT_EQ(Told(), Types());
}

TEST_F(KeeperTest, AnUpdateOfThePackageIsToldWithItsVersion) {
    m_packages.Set("installed", "1", "1");
    Start();
    EXPECT_EQ(UpdateState(), ApplicationUpdateState::NoUpdatesAvailable);
    EXPECT_EQ(Told(), Types());
    m_packages.Set("installed", "1", "2");
    At(Monday + 15);
    EXPECT_EQ(UpdateState(), ApplicationUpdateState::NoUpdatesAvailable) << "it may change further";
    At(Monday + 30);
    EXPECT_EQ(UpdateState(), ApplicationUpdateState::UpdateDownloaded);
    const std::vector<Event> events = m_recorder.Events();
    EXPECT_EQ(Told(), Types{EventName::PatchDownloaded});
    ulk::types::string16_t version;
    ASSERT_EQ(events.at(0).GetAdditionalData(AdditionalName::PatchVersion, version), ulk::sOk);
    EXPECT_EQ(version, u"2");
    At(Monday + 45);
    EXPECT_EQ(Told(), Types());
    m_packages.Set("half-configured", "2", "2");
    At(Monday + 60);
    At(Monday + 75);
    EXPECT_EQ(UpdateState(), ApplicationUpdateState::UpdateFailed);
    EXPECT_EQ(Told(), Types{EventName::PatchInstallError});
}

TEST_F(KeeperTest, ProtectionCanRunAsSoonAsTheScannersProgramIsThere) {
    Script(m_folder, "tesl-scanner", "exit 0");
    Start();
    AppInfo info;
    info.avRecordsCount = 7;
    m_keeper->Fill(info);
    EXPECT_TRUE(info.canRunProtection) << "though nothing is loaded";
    EXPECT_EQ(info.avRecordsCount, 7u) << "what others know stays";
    EXPECT_FALSE(info.systemName.empty());
    fs::permissions(m_folder.File("tesl-scanner"), fs::perms::owner_read);
    At(Monday + 15);
    m_keeper->Fill(info);
    EXPECT_FALSE(info.canRunProtection);
}

} // namespace
} // namespace tfs::service::app_info
