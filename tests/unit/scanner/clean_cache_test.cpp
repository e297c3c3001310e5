// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/cache_keeper.h>
#include <tests/unit/scanner/scan_files.h>

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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
    cache.Use(7);
    cache.Add(File(1), 7, Now);
    EXPECT_TRUE(cache.Contains(File(1)));
    void (*const changes[])(struct stat&) = {
        [](struct stat& f) { f.st_size = 101; },       [](struct stat& f) { f.st_mtim.tv_nsec = 6; },
        [](struct stat& f) { f.st_ctim.tv_nsec = 7; }, [](struct stat& f) { f.st_ctim.tv_sec = 999; },
        [](struct stat& f) { f.st_ino = 2; },          [](struct stat& f) { f.st_dev = 9; },
    };
    for (const auto change : changes) {
        struct stat file = File(1);
        change(file);
        EXPECT_FALSE(cache.Contains(file));
    }
    EXPECT_TRUE(cache.Contains(File(1)));
}

TEST(CleanCache, AnotherSignatureSetKnowsNothing) {
    CleanCache cache;
    cache.Use(7);
    cache.Add(File(1), 7, Now);
    cache.Use(8);
    EXPECT_FALSE(cache.Contains(File(1)));
    cache.Add(File(1), 7, Now);
    EXPECT_FALSE(cache.Contains(File(1))) << "a verdict that the old set gave late";
    cache.Use(7);
    EXPECT_FALSE(cache.Contains(File(1))) << "going back to the old set is a new set too";
}

TEST(CleanCache, AFileThatChangedJustNowIsNotTrusted) {
    CleanCache cache;
    cache.Use(7);
    struct stat file = File(1);
    file.st_ctim = {Now.tv_sec - 59, 0}; // a mapped page may change without a trace for half a minute
    cache.Add(file, 7, Now);
    EXPECT_FALSE(cache.Contains(file));
    file.st_ctim = {Now.tv_sec + 500, 0}; // a clock that went back
    cache.Add(file, 7, Now);
    EXPECT_FALSE(cache.Contains(file));
}

TEST(CleanCache, ForgetsWhatLiesOnDevicesThatMayHaveBeenExchanged) {
    CleanCache cache(1024, CleanCache::SettleSeconds, 8);
    cache.Use(7);
    struct stat other = File(1);
    other.st_dev = 9;
    cache.Add(File(1), 7, Now);
    cache.Add(other, 7, Now);
    EXPECT_TRUE(cache.Contains(other));
    cache.KeepRootDevice();
    EXPECT_TRUE(cache.Contains(File(1)));
    EXPECT_FALSE(cache.Contains(other));
}

TEST(CleanCache, StaysSmallAndKeepsWhatIsUsed) {
    CleanCache cache(128);
    cache.Use(7);
    for (ino_t inode = 1; inode <= 2000; ++inode) {
        cache.Add(File(inode), 7, Now);
        EXPECT_TRUE(cache.Contains(File(1))) << inode;
        EXPECT_TRUE(cache.Contains(File(inode))) << inode;
        EXPECT_LE(cache.Size(), 128u);
    }
    EXPECT_FALSE(cache.Contains(File(2)));
}

class CleanCacheFile : public testing::Test {
protected:
    static constexpr dev_t Root = 8 << 8 | 1;
    static struct stat OnRoot(ino_t inode) {
        struct stat file = File(inode);
        file.st_dev = Root;
        return file;
    }
    CleanCacheFile() {
        m_cache.Use(7);
        m_cache.Add(OnRoot(1), 7, Now);
        m_cache.Add(File(2), 7, Now);
        EXPECT_TRUE(SaveCleanCache(m_path, Root, m_cache));
    }
    std::string Load(CleanCache& cache, dev_t root = Root) { return LoadCleanCache(m_path, root, cache); }

    test::TemporaryFolder m_folder;
    std::string m_path = m_folder / "clean";
    CleanCache m_cache{256, CleanCache::SettleSeconds, Root};
};

TEST_F(CleanCacheFile, HoldsTheFilesOfTheRootDeviceForTheSameSet) {
    CleanCache again(256, CleanCache::SettleSeconds, Root);
    EXPECT_EQ(Load(again), "");
    again.Use(7);
    EXPECT_TRUE(again.Contains(OnRoot(1)));
    EXPECT_FALSE(again.Contains(File(2))) << "its device may be another one by now";
    again.Use(8);
    EXPECT_EQ(again.Size(), 0u);
}

TEST_F(CleanCacheFile, WhatIsDamagedOrForeignIsNotUsed) {
    const std::string good = test::Contents(m_path);
    const auto refused = [&](const char* why, dev_t root = Root) {
        CleanCache cache(256, CleanCache::SettleSeconds, root);
        EXPECT_NE(Load(cache, root), "") << why;
        cache.Use(7);
        EXPECT_EQ(cache.Size(), 0u) << why;
    };
    for (std::size_t at = 0; at < good.size(); at += at < 200 ? 1 : 97) {
        std::string bad = good;
        bad[at] = static_cast<char>(bad[at] ^ 4);
        m_folder.Write("clean", bad);
        refused("flipped");
        m_folder.Write("clean", good.substr(0, at));
        refused("cut");
    }
    m_folder.Write("clean", good + std::string(8, '\0'));
    refused("longer");
    m_folder.Write("clean", good);
    refused("another root", Root + 1);
    ASSERT_EQ(::chmod(m_path.c_str(), 0622), 0);
    refused("others may write");
    ASSERT_EQ(::chmod(m_path.c_str(), 0600), 0);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(m_path.c_str(), 1, 1), 0);
        refused("somebody else's");
        ASSERT_EQ(::chown(m_path.c_str(), 0, 0), 0);
    }
    CleanCache cache(256, CleanCache::SettleSeconds, Root);
    EXPECT_EQ(Load(cache), "") << "the rows above were refused for other reasons";
    std::filesystem::rename(m_path, m_folder / "aside");
    std::filesystem::create_symlink(m_folder / "aside", m_path);
    refused("link");
    CleanCache smaller(128, CleanCache::SettleSeconds, Root);
    std::filesystem::rename(m_folder / "aside", m_path);
    EXPECT_NE(Load(smaller), "");
}

TEST(KeyedHash, IsThePublishedOne) {
    // The published vector for the key 00 01 .. 0f and the message 00 01 .. 07.
    const HashKey key{0x0706050403020100ull, 0x0f0e0d0c0b0a0908ull};
    const std::uint64_t words[] = {0x0706050403020100ull};
    EXPECT_EQ(KeyedHash(key, words), 0x93f5f5799a932462ull);
}

} // namespace
} // namespace tfs::service::scan
