// SPDX-License-Identifier: GPL-2.0-or-later
// Storage against kills, full and read-only disks, damage, and a folder that somebody made before.
#include <service/storage/object_restorer.h>
#include <service/storage/object_taker.h>
#include <tests/unit/service/killed_child.h>
#include <tests/unit/service/storage_fixture.h>

#include <filesystem>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>

namespace tfs::service::storage {
namespace {

namespace fs = std::filesystem;

/// Runs `body` in a child of its own, with mounts that nobody else sees; false where it may not have them.
bool WithOwnMounts(const std::function<void()>& body) {
    const pid_t child = ::fork();
    if (child == 0) {
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            ::_exit(2);
        body();
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) != 1) << "see above";
    return !WIFEXITED(status) || WEXITSTATUS(status) != 2;
}

/// Storage in the hands of one thread, so that a child can be killed at each of its steps.
struct KillTest : testing::Test {
    KillTest() {
        if (::mkdir(folder.File("objects").c_str(), 0700) != 0)
            ADD_FAILURE();
    }
    std::string Objects() const { return folder.File("objects/"); }
    std::string Path() const { return folder.File("bad"); }
    void Reset() const {
        fs::remove_all(folder.File("objects"));
        fs::remove(Path());
        folder.Write("bad", Sample);
    }
    BackupId Keep(Vault& vault) const { return TakeObject(vault, Found(Path()), 0, 1000).record.id; }
    /// What is in Storage after the next start, which has tidied up.
    std::vector<ObjectRecord> Restart(Vault& vault) const {
        vault.Open(2000);
        const auto records = vault.Table().Select([](const ObjectRecord&) { return true; });
        std::size_t blobs = 0;
        for (const auto& entry : fs::directory_iterator(Objects()))
            blobs += entry.path().filename().string().starts_with("objects.db") ? 0 : 1;
        EXPECT_EQ(blobs, records.size()) << "leftovers";
        return records;
    }

    TempFolder folder;
};

TEST_F(KillTest, TakenFilesAreInTheirPlaceOrInStorage) {
    bool killed = true;
    std::size_t steps = 0;
    for (; killed; ++steps) {
        Reset();
        killed = tests::KilledBeforeChange(steps, [&] {
            Vault vault(Objects());
            vault.Open(1000);
            Keep(vault);
            return true;
        });
        const bool isThere = fs::exists(Path());
        Vault vault(Objects());
        const auto records = Restart(vault);
        ASSERT_EQ(records.size(), isThere ? 0u : 1u) << "killed before change " << steps;
        if (!isThere)
            RestoreObject(vault.Blobs(), records[0], {}, {});
        ASSERT_EQ(Content(Path()), Sample) << "killed before change " << steps;
    }
    EXPECT_GT(steps, 20u) << "the kills came between the steps";
}

TEST_F(KillTest, RestoredFilesAreWholeOrNotThere) {
    bool killed = true;
    std::size_t steps = 0;
    for (; killed; ++steps) {
        Reset();
        {
            Vault vault(Objects());
            vault.Open(1000);
            Keep(vault);
        }
        killed = tests::KilledBeforeChange(steps, [&] {
            Vault vault(Objects());
            vault.Open(1500);
            std::size_t inUse = 0;
            const auto claimed = vault.Table().Claim([](const ObjectRecord&) { return true; }, inUse);
            RestoreObject(vault.Blobs(), claimed.at(0), {}, {});
            vault.Leave(claimed);
            return true;
        });
        Vault vault(Objects());
        const auto records = Restart(vault);
        if (fs::exists(Path())) {
            ASSERT_EQ(Content(Path()), Sample) << "killed before change " << steps;
            continue;
        }
        ASSERT_EQ(records.size(), 1u) << "killed before change " << steps;
        RestoreObject(vault.Blobs(), records[0], {}, {});
        ASSERT_EQ(Content(Path()), Sample);
    }
    EXPECT_GT(steps, 8u);
}

TEST_F(StorageTest, AFullDiskLosesNeitherFileNorObject) {
    const std::string path = Write("bad", std::string(300 << 10, 'x'));
    EXPECT_TRUE(Items().empty()); // it is open
    m_area.reset();
    const bool ran = WithOwnMounts([&] {
        ASSERT_EQ(::mount("none", Objects().c_str(), "tmpfs", 0, "size=1m,mode=0700"), 0);
        Start();
        const BackupId kept = Keep("kept");
        std::ofstream filler(Objects() + "filler", std::ios::binary);
        const std::string block(4096, 'x');
        while (filler.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) {
        }
        filler.close();
        EXPECT_EQ(Take(Found(path)), ulk::eInsufficientResources) << m_why;
        EXPECT_EQ(Content(path).size(), 300u << 10);
        EXPECT_EQ(m_area->Restore(Administrator, kept), ulk::sOk);
        EXPECT_EQ(Content(m_folder.File("kept")), Sample);
        fs::remove(Objects() + "filler");
        EXPECT_EQ(Take(Found(path)), ulk::sOk) << m_why;
        Start();
        EXPECT_FALSE(Exists(path));
        m_area.reset();
    });
    if (!ran)
        GTEST_SKIP() << "not run: this process may not mount";
}

TEST_F(StorageTest, AReadOnlyDiskIsToldAndStorageComesBackWithoutARestart) {
    const std::string path = Write("bad");
    const BackupId kept = Keep("kept");
    m_area.reset();
    const bool ran = WithOwnMounts([&] {
        ASSERT_EQ(::mount(Objects().c_str(), Objects().c_str(), nullptr, MS_BIND, nullptr), 0);
        const auto remount = [&](unsigned long flag) {
            return ::mount(nullptr, Objects().c_str(), nullptr, MS_REMOUNT | MS_BIND | flag, nullptr) == 0;
        };
        ASSERT_TRUE(remount(MS_RDONLY));
        Start();
        EXPECT_FALSE(ULK_SUCCEEDED(Take(Found(path))));
        EXPECT_NE(m_why, "");
        EXPECT_EQ(Content(path), Sample);
        ASSERT_TRUE(remount(0));
        m_clock.NextWait();
        m_clock.Set(tests::Monday + 60);
        m_clock.NextWait();
        EXPECT_EQ(Take(Found(path)), ulk::sOk) << m_why;
        EXPECT_EQ(m_area->Restore(Administrator, kept), ulk::sOk);
        m_area.reset();
    });
    if (!ran)
        GTEST_SKIP() << "not run: this process may not mount";
}

TEST_F(StorageTest, ADamagedDatabaseIsMadeAgainFromTheObjects) {
    const BackupId one = Keep("one", "one");
    const BackupId two = Keep("two", "two");
    const BackupItems before = Items();
    m_area.reset();
    for (const std::string& damage : {std::string("no database at all"), std::string(64 * 1024, '\xAA')}) {
        fs::remove(Objects() + "objects.db-wal");
        m_folder.Write("objects/objects.db", damage);
        std::ofstream(Objects() + "77.object") << "damaged too";
        Start();
        EXPECT_EQ(Items(), before);
        EXPECT_EQ(Content(Objects() + "objects.db.damaged"), damage);
        EXPECT_GE(Keep("three"), static_cast<BackupId>(tests::Monday)) << "a number that was never given before";
        EXPECT_EQ(m_area->Restore(Administrator, m_id), ulk::sOk);
        fs::remove(m_folder.File("three"));
        m_area.reset();
    }
    Start();
    EXPECT_EQ(m_area->Restore(Administrator, one), ulk::sOk);
    EXPECT_EQ(m_area->Restore(Administrator, two), ulk::sOk);
    EXPECT_EQ(Content(m_folder.File("two")), "two");
}

TEST_F(StorageTest, AFolderThatIsALinkOrOpenToOthersIsNotUsedAsItIs) {
    m_area.reset();
    fs::remove_all(m_folder.File("objects"));
    fs::create_directories(m_folder.File("elsewhere"));
    fs::create_symlink(m_folder.File("elsewhere"), m_folder.File("objects"));
    const std::string path = Write("bad");
    Start();
    EXPECT_EQ(Take(Found(path)), ulk::eNotReady);
    EXPECT_NE(m_why.find("Storage can't be used"), std::string::npos) << m_why;
    EXPECT_TRUE(Exists(path));
    EXPECT_TRUE(fs::is_empty(m_folder.File("elsewhere")));
    BackupItems items;
    EXPECT_EQ(m_area->Query(Administrator, {}, items), ulk::eNotReady);
    m_area.reset();
    fs::remove(m_folder.File("objects"));
    ASSERT_EQ(::mkdir(m_folder.File("objects").c_str(), 0777), 0);
    ASSERT_EQ(::chmod(m_folder.File("objects").c_str(), 0777), 0);
    Start();
    EXPECT_EQ(Take(Found(path)), ulk::sOk) << m_why;
    struct stat status {};
    ASSERT_EQ(::stat(Objects().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0700u);
}

} // namespace
} // namespace tfs::service::storage
