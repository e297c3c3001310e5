// SPDX-License-Identifier: GPL-2.0-or-later
#include "fake_backup.h"
#include "gui_fixture.h"

#include <foundation/datetime.h>
#include <gui/backup_manager/backup_actions.h>
#include <gui/backup_manager/backup_actions_worker.h>
#include <gui/backup_manager/backup_fill_watch.h>

#include <QtTest/QSignalSpy>
#include <limits>
#include <memory>
#include <mutex>
#include <thread>

namespace tfs::gui {
namespace {

using test::WaitUntil;

constexpr std::uint64_t MiB = 1024 * 1024;

class BackupTest : public test::GuiTest {
protected:
    BackupTest() {
        m_app.remote->Put<ITfstBackupManager>(m_backup.Get());
        m_app.remote->Put<ITfsBackupConfigurator>(m_backup.Get());
    }
    ulk::IServiceLocator* Remote() { return m_app.remote.Get(); }
    std::size_t Traced(const std::string& part) { return m_app.tracer->Count(ulk::level::Failure, part); }
    /// -1 where the call fails.
    std::int64_t Fill() {
        std::uint32_t percentage = 7;
        const result_t result = BackupActions::GetBackupFillPercentage(Remote(), percentage);
        return result == ulk::sOk ? std::int64_t{percentage} : -1;
    }

    ulk::Ptr<test::FakeBackup> m_backup = test::FakeApplication::Make<test::FakeBackup>();
};

using BackupActionsTest = BackupTest;

TEST_F(BackupActionsTest, anIdNamesItsObjectOrTheContainerOfIt) {
    m_backup->Add(1, u"/a");
    m_backup->Add(2, u"/b.zip");
    m_backup->AddChild(2, 5);
    BackupItemInfo item;
    EXPECT_EQ(BackupActions::Query(Remote(), 1, item), ulk::sOk);
    EXPECT_EQ(item.objectName, u"/a");
    EXPECT_EQ(m_backup->Calls().size(), 1u);
    EXPECT_EQ(BackupActions::Query(Remote(), 5, item), ulk::sOk);
    EXPECT_EQ(item.id, 2u);
    EXPECT_EQ(m_backup->Calls().size(), 3u);
    EXPECT_TRUE(m_app.tracer->Lines(ulk::level::Failure).empty());
    EXPECT_EQ(m_app.tracer->Count(ulk::level::Detail, "qb returned: 0"), 1u);

    EXPECT_EQ(BackupActions::Query(Remote(), 9, item), ulk::eNotFound);
    EXPECT_EQ(item.id, 2u);
    EXPECT_EQ(Traced("(backupItems.size() == 1),(bool) failed: result = false"), 1u);
    m_backup->AddChild(1, 5);
    EXPECT_EQ(BackupActions::Query(Remote(), 5, item), ulk::eNotFound) << "two containers";

    m_backup->queryFailure = ulk::eTimeout;
    EXPECT_EQ(BackupActions::Query(Remote(), 1, item), ulk::eTimeout);
    EXPECT_EQ(Traced("(Query(remoteSl, exactFilter, backupItems)),(ULK_SUCCEEDED(_result)) failed: "
                     "result = 0x80000221"),
              1u);
}

TEST_F(BackupActionsTest, failuresAreTracedWithTheTextOfTheirStep) {
    BackupItems items;
    tfs::settings::BackupSettings settings;
    m_backup->Add(1, u"/a");
    m_backup->throws = true;
    EXPECT_TRUE(ULK_FAILED(BackupActions::Query(Remote(), items)));
    EXPECT_TRUE(ULK_FAILED(BackupActions::Remove(Remote(), {1, 2, 3})));
    EXPECT_TRUE(ULK_FAILED(BackupActions::Restore(Remote(), 1)));
    EXPECT_EQ(Traced("Query cannot get backup items list"), 1u);
    EXPECT_EQ(Traced("Remove failed to remove 3 items from backup"), 1u);
    EXPECT_EQ(Traced("Restore failed to restore backup items"), 1u);
    m_backup->throws = false;
    m_backup->queryFailure = m_backup->removeFailure = m_backup->settingsFailure = ulk::eAccessDenied;
    EXPECT_EQ(BackupActions::Query(Remote(), items), ulk::eAccessDenied);
    EXPECT_EQ(BackupActions::Remove(Remote(), {1}), ulk::eAccessDenied);
    EXPECT_EQ(BackupActions::RemoveAll(Remote()), ulk::eAccessDenied);
    EXPECT_EQ(BackupActions::GetSettings(Remote(), settings), ulk::eAccessDenied);
    EXPECT_EQ(Traced("Failed to get backup items"), 1u);
    EXPECT_EQ(Traced("Cannot remove items from backup"), 1u);
    EXPECT_EQ(Traced(" failed to remove all backup items"), 1u);
    EXPECT_EQ(Traced("Cannot get backup settings"), 1u);
    EXPECT_TRUE(items.empty());

    m_app.remote->Remove(ITfstBackupManager::Iid);
    m_app.remote->Remove(ITfsBackupConfigurator::Iid);
    EXPECT_EQ(BackupActions::Query(Remote(), items), ulk::eNoInterface);
    EXPECT_EQ(BackupActions::GetSettings(Remote(), settings), ulk::eNoInterface);
    EXPECT_EQ(Traced("Cannot get tfs.ITfstBackupManager"), 1u);
    EXPECT_EQ(Traced("Cannot get ITfsBackupConfigurator interface"), 1u);
    EXPECT_EQ(m_app.tracer->Count(ulk::level::Detail, "BackupActions::RemoveAll("), 1u);
}

TEST_F(BackupActionsTest, removingNothingRemovesNothing) {
    m_backup->Add(1, u"/a");
    m_backup->Add(2, u"/b");
    EXPECT_EQ(BackupActions::Remove(Remote(), {}), ulk::sOk);
    EXPECT_TRUE(m_backup->Calls().empty()) << "a filter without clauses takes everything";
    EXPECT_EQ(BackupActions::Remove(Remote(), {2}), ulk::sOk);
    BackupItems items;
    EXPECT_EQ(BackupActions::Query(Remote(), items), ulk::sOk);
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].id, 1u);
    EXPECT_EQ(BackupActions::RemoveAll(Remote()), ulk::sOk);
    EXPECT_EQ(BackupActions::Query(Remote(), items), ulk::sOk);
    EXPECT_TRUE(items.empty());
}

TEST_F(BackupActionsTest, fillPercentage) {
    m_backup->SetSettings(30, 100);
    EXPECT_EQ(Fill(), 0);
    m_backup->Add(1, u"/a", 80 * MiB);
    m_backup->Add(2, u"/b", MiB - 1);
    EXPECT_EQ(Fill(), 80);
    m_backup->Add(2, u"/b", MiB);
    EXPECT_EQ(Fill(), 81);
    m_backup->Add(2, u"/b", 1000 * MiB);
    EXPECT_EQ(Fill(), 1080);
    m_backup->Add(2, u"/b", std::uint64_t{1} << 62); // a hundred times that doesn't fit into 64 bits
    EXPECT_EQ(Fill(), static_cast<std::uint32_t>((std::uint64_t{1} << 62) / MiB + 80));
    m_backup->SetSettings(30, 0);
    EXPECT_EQ(Fill(), 0);
    m_backup->SetSettings(30, 0xFFFFFFFF);
    m_backup->Add(2, u"/b", std::uint64_t{0xFFFFFFFF} << 19);
    EXPECT_EQ(Fill(), 50);

    m_backup->settingsFailure = ulk::eTimeout;
    EXPECT_EQ(Fill(), -1);
    EXPECT_EQ(Traced("failed to get backup settings"), 1u);
    m_backup->settingsFailure = ulk::sOk;
    m_backup->queryFailure = ulk::eTimeout;
    std::uint32_t percentage = 7;
    EXPECT_EQ(BackupActions::GetBackupFillPercentage(Remote(), percentage), ulk::eTimeout);
    EXPECT_EQ(percentage, 0u);
    EXPECT_EQ(Traced("failed to get backup items info"), 1u);
}

using BackupFillWatchTest = BackupTest;

TEST_F(BackupFillWatchTest, answersAtOnceAndTellsWhatIsNew) {
    m_backup->SetSettings(30, 100);
    m_backup->Add(1, u"/a", 90 * MiB);
    m_backup->Shut(true);
    std::atomic<int> changes{0};
    BackupFillWatch watch([&] { ++changes; });
    std::uint32_t percentage = 5;
    EXPECT_EQ(watch.GetBackupFillPercentage(Remote(), percentage), ulk::eNotReady);
    EXPECT_EQ(percentage, 0u);
    ASSERT_TRUE(WaitUntil([&] { return m_backup->Calls().size() == 1; }));
    // Asked again meanwhile: what came in since then is measured as well.
    EXPECT_EQ(watch.GetBackupFillPercentage(Remote(), percentage), ulk::eNotReady);
    m_backup->Shut(false);
    ASSERT_TRUE(WaitUntil([&] { return m_backup->Calls().size() == 2 && changes == 1; }));
    ASSERT_TRUE(WaitUntil([&] { return watch.GetBackupFillPercentage(Remote(), percentage) == ulk::sOk; }));
    EXPECT_EQ(percentage, 90u);
    m_backup->Add(1, u"/a", 10 * MiB);
    ASSERT_TRUE(
        WaitUntil([&] { return watch.GetBackupFillPercentage(Remote(), percentage) == ulk::sOk && percentage == 10; }));
    EXPECT_TRUE(WaitUntil([&] { return changes == 2; }));
    m_backup->queryFailure = ulk::eTimeout;
    ASSERT_TRUE(WaitUntil([&] { return watch.GetBackupFillPercentage(Remote(), percentage) == ulk::eTimeout; }));
    EXPECT_EQ(percentage, 0u);
    EXPECT_TRUE(WaitUntil([&] { return changes == 3; }));
}

TEST_F(BackupFillWatchTest, whoAsksMayHoldWhatTheCallbackWaitsFor) {
    m_backup->SetSettings(30, 100);
    std::mutex modelMutex;
    std::atomic<int> waiting{0};
    std::atomic<int> told{0};
    BackupFillWatch watch([&] {
        ++waiting;
        const std::lock_guard lock(modelMutex);
        ++told;
    });
    for (int round = 1; round <= 20; ++round) {
        m_backup->Add(1, u"/a", static_cast<std::uint64_t>(round) * MiB);
        std::uint32_t percentage = 0;
        {
            const std::lock_guard lock(modelMutex);
            watch.GetBackupFillPercentage(Remote(), percentage);
            ASSERT_TRUE(WaitUntil([&] { return waiting == round; }));
            EXPECT_EQ(told, round - 1);
            watch.GetBackupFillPercentage(Remote(), percentage);
            EXPECT_EQ(percentage, static_cast<std::uint32_t>(round));
        }
        ASSERT_TRUE(WaitUntil([&] { return told == round; }));
    }
}

TEST_F(BackupFillWatchTest, itsEndWaitsForTheMeasurementAndIsNotTold) {
    m_backup->SetSettings(30, 100);
    m_backup->Add(1, u"/a", 90 * MiB);
    m_backup->Shut(true);
    std::atomic<int> changes{0};
    std::atomic<bool> ended{false};
    auto watch = std::make_unique<BackupFillWatch>([&] { ++changes; });
    std::uint32_t percentage = 0;
    watch->GetBackupFillPercentage(Remote(), percentage);
    ASSERT_TRUE(WaitUntil([&] { return m_backup->Calls().size() == 1; }));
    std::thread owner([&] {
        watch.reset();
        ended = true;
    });
    EXPECT_FALSE(ended);
    m_backup->Shut(false);
    owner.join();
    EXPECT_EQ(m_backup->Calls().size(), 1u);
    EXPECT_LE(changes, 1) << "told before its end, or not at all";
}

class BackupActionsWorkerTest : public BackupTest {
protected:
    static QVariant Ids(const BackupIdList& ids) { return QVariant::fromValue(ids); }
    static QList<OneItemInfo> Rows(const QSignalSpy& spy) { return *spy.last().at(0).value<QBackupInfo>(); }
    static constexpr std::int64_t Noon2024 = ulk::datetime::kUnixEpochTicks + 1704110400 * 10'000'000LL;

    BackupActionsWorker m_worker{m_app.remote.Get()};
};

TEST_F(BackupActionsWorkerTest, removesInSlicesOfAHundredAndEndsWithTheFirstThatFails) {
    BackupIdList ids;
    for (quint64 id = 1; id <= 250; ++id) {
        m_backup->Add(id, u"/a");
        ids << id;
    }
    QSignalSpy finished(&m_worker, &BackupActionsWorker::BackupRemoveFinished);
    m_worker.RemoveFromBackup(Ids(ids));
    EXPECT_EQ(m_backup->Calls(), (std::vector<std::string>{"remove 100", "remove 100", "remove 50"}));
    EXPECT_EQ(finished.count(), 1);
    BackupItems left;
    EXPECT_EQ(m_backup->Query({}, left), ulk::sOk);
    EXPECT_TRUE(left.empty());

    m_backup->removeFailure = ulk::eAccessDenied;
    m_worker.RemoveFromBackup(Ids(ids));
    EXPECT_EQ(m_backup->Calls().size(), 5u);
    EXPECT_EQ(finished.count(), 2);
    EXPECT_EQ(Traced("BackupActionsWorker::RemoveFromBackup"), 1u);
    m_worker.RemoveFromBackup(QVariant());
    EXPECT_EQ(m_backup->Calls().size(), 5u);
    EXPECT_EQ(finished.count(), 3);
}

TEST_F(BackupActionsWorkerTest, aRestoreThatFailsDoesNotEndTheOthers) {
    m_backup->restoreFailures = {{2, ulk::eAlreadyExists}, {3, eReadOnlyFileSystem}};
    QSignalSpy finished(&m_worker, &BackupActionsWorker::BackupRestoreFinished);
    m_worker.RestoreFromBackup(Ids({1, 2, 3, 4}));
    EXPECT_EQ(m_backup->Calls(), (std::vector<std::string>{"restore 1", "restore 2", "restore 3", "restore 4"}));
    ASSERT_EQ(finished.count(), 1);
    EXPECT_EQ(finished.last().at(0).value<QVariant>().value<RestoreErrors>(),
              (RestoreErrors{{2, ulk::eAlreadyExists}, {3, eReadOnlyFileSystem}}));
    m_worker.RestoreFromBackup(Ids({1, 4}));
    ASSERT_EQ(finished.count(), 2);
    EXPECT_FALSE(finished.last().at(0).value<QVariant>().isValid());
}

TEST_F(BackupActionsWorkerTest, rowsTellWhatIsKnownOfAnObject) {
    m_backup->SetSettings(30, 0);
    m_backup->Add(1, u"/tmp/\u0444\u0430\u0439\u043b");
    const char16_t broken[] = {u'/', 0xD800, 0};
    m_backup->Add(2, broken);
    QSignalSpy loaded(&m_worker, &BackupActionsWorker::BackupDataLoaded);
    m_worker.FillBackupInfo();
    ASSERT_EQ(loaded.count(), 1);
    ASSERT_EQ(Rows(loaded).size(), 2);
    EXPECT_EQ(Rows(loaded)[0].objectId, 1u);
    EXPECT_EQ(Rows(loaded)[1].additionalInfo, QStringList(QStringLiteral("The path cannot be shown.")));
    EXPECT_EQ(m_app.tracer->Count(ulk::level::Notable, "FillBackupInfo"), 1u);

    BackupItemInfo item{7, u"/a", 0x103, "Eicar", {Noon2024}, 68};
    const OneItemInfo row = ToOneItemInfo(item, 30);
    EXPECT_EQ(row.dangerLevel, 3);
    EXPECT_EQ(row.detectName, QStringLiteral("Eicar"));
    EXPECT_TRUE(row.errorInfo.isEmpty());
    EXPECT_FALSE(row.toRemove);
    ASSERT_EQ(row.additionalInfo.size(), 4);
    EXPECT_EQ(row.additionalInfo[0], QStringLiteral("Path: /a"));
    EXPECT_TRUE(row.additionalInfo[1].startsWith(QStringLiteral("Moved to Storage: 01.01.2024 ")));
    EXPECT_TRUE(row.additionalInfo[2].startsWith(QStringLiteral("Kept until: 31.01.2024")));
    EXPECT_EQ(row.additionalInfo[3], QStringLiteral("Size in bytes: 68"));
    EXPECT_EQ(ToOneItemInfo(item, 0).additionalInfo.size(), 3);
    item.addedTime.ticks = -1; // a moment that no calendar shows costs lines and not the row
    EXPECT_EQ(ToOneItemInfo(item, 0).additionalInfo, QStringList(QStringLiteral("Path: /a")));
    item.addedTime.ticks = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(ToOneItemInfo(item, 0xFFFFFFFF).objectId, 7u);
    EXPECT_EQ(Traced("failed to convert BackupItemInfo to OneItemInfo"), 1u);

    m_backup->queryFailure = ulk::eTimeout;
    m_worker.FillBackupInfo();
    EXPECT_EQ(loaded.count(), 1) << "rows that can't be had aren't an empty Storage";
}

TEST_F(BackupActionsWorkerTest, addedIdsThatAreGoneAreLeftOut) {
    m_backup->Add(1, u"/a");
    m_backup->Add(3, u"/c.zip");
    m_backup->AddChild(3, 8);
    QSignalSpy added(&m_worker, &BackupActionsWorker::BackupDataAdded);
    m_worker.AddToBackup(Ids({1, 2, 8}));
    ASSERT_EQ(added.count(), 1);
    ASSERT_EQ(Rows(added).size(), 2);
    EXPECT_EQ(Rows(added)[0].objectId, 1u);
    EXPECT_EQ(Rows(added)[1].objectId, 3u);
    EXPECT_EQ(Traced("cannot get full info from ITfsBackupManager"), 1u);
}

} // namespace
} // namespace tfs::gui
