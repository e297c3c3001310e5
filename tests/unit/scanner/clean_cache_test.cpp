// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/clean_cache.h>

#include <gtest/gtest.h>

namespace tfs::service::scan {
namespace {

constexpr timespec Now{2000000, 0};

struct stat File(ino_t inode) {
    struct stat file {};
    file.st_dev = 8;
    file.st_ino = inode;
    file.st_size = 100;
    file.st_mtim = {1000, 5};
    file.st_ctim = {1000, 6};
    return file;
}

TEST(CleanCache, KnowsExactlyTheStateThatWasClean) {
    CleanCache cache;
    cache.Add(File(1), 7, Now);
    EXPECT_TRUE(cache.Contains(File(1), 7));
    void (*const changes[])(struct stat&) = {
        [](struct stat& f) { f.st_size = 101; },       [](struct stat& f) { f.st_mtim.tv_nsec = 6; },
        [](struct stat& f) { f.st_ctim.tv_nsec = 7; }, [](struct stat& f) { f.st_ctim.tv_sec = 999; },
        [](struct stat& f) { f.st_ino = 2; },          [](struct stat& f) { f.st_dev = 9; },
    };
    for (const auto change : changes) {
        struct stat file = File(1);
        change(file);
        EXPECT_FALSE(cache.Contains(file, 7));
    }
    EXPECT_TRUE(cache.Contains(File(1), 7));
}

TEST(CleanCache, AnotherSignatureSetKnowsNothing) {
    CleanCache cache;
    cache.Add(File(1), 7, Now);
    EXPECT_FALSE(cache.Contains(File(1), 8));
    EXPECT_FALSE(cache.Contains(File(1), 7)) << "going back to the old set is a new set too";
}

TEST(CleanCache, AFileThatChangedJustNowIsNotTrusted) {
    CleanCache cache;
    struct stat file = File(1);
    file.st_ctim = {Now.tv_sec - 59, 0}; // a mapped page may change without a trace for half a minute
    cache.Add(file, 7, Now);
    EXPECT_FALSE(cache.Contains(file, 7));
    file.st_ctim = {Now.tv_sec + 500, 0}; // a clock that went back
    cache.Add(file, 7, Now);
    EXPECT_FALSE(cache.Contains(file, 7));
}

TEST(CleanCache, ForgetsWhatLiesOnDevicesThatMayHaveBeenExchanged) {
    CleanCache cache;
    struct stat other = File(1);
    other.st_dev = 9;
    cache.Add(File(1), 7, Now);
    cache.Add(other, 7, Now);
    cache.KeepOnly(8);
    EXPECT_TRUE(cache.Contains(File(1), 7));
    EXPECT_FALSE(cache.Contains(other, 7));
}

TEST(CleanCache, StaysSmallAndKeepsWhatIsUsed) {
    CleanCache cache(100);
    for (ino_t inode = 1; inode <= 1000; ++inode) {
        cache.Add(File(inode), 7, Now);
        EXPECT_TRUE(cache.Contains(File(1), 7)) << inode;
        EXPECT_LE(cache.Size(), 201u);
    }
    EXPECT_FALSE(cache.Contains(File(2), 7));
}

} // namespace
} // namespace tfs::service::scan
