// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/app_core/storage_service.h>
#include <foundation/module.h>
#include <foundation/result.h>
#include <tests/unit/tfs_common/test_folder.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using app_core::IKeyValueStorage;

class KeyValueStorageTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(m_module.Load(std::string(TEST_MODULE_FOLDER) + "libkey_value_storage.so"), ulk::sOk)
            << m_module.ErrorText();
        m_storage = Make();
    }
    void TearDown() override { m_storage.Reset(); }

    ulk::Ptr<IKeyValueStorage> Make() {
        void* made = nullptr;
        EXPECT_EQ(m_module.CreateObject(app_core::KeyValueStorageClass, nullptr, IKeyValueStorage::Iid, &made),
                  ulk::sOk);
        return ulk::Ptr<IKeyValueStorage>::Adopt(static_cast<IKeyValueStorage*>(made));
    }
    std::string Value(const std::string& key) {
        std::string value;
        const result_t result = m_storage->Get(key, value);
        return ULK_SUCCEEDED(result) ? value : "code " + std::string(ulk::ResultText(result));
    }

    test::Folder m_folder;
    std::string m_path = m_folder / "a/b/test.kvdb";
    ulk::Module m_module;
    ulk::Ptr<IKeyValueStorage> m_storage;
};

TEST_F(KeyValueStorageTest, KeepsBytesAcrossOpenings) {
    const std::string binary("\0\xFF\n'\"", 5);
    ASSERT_EQ(m_storage->Open(m_path), ulk::sOk);
    EXPECT_EQ(m_storage->Set("key", "one"), ulk::sOk);
    EXPECT_EQ(m_storage->Set("key", "two"), ulk::sOk);
    EXPECT_EQ(m_storage->Set(std::string("k\0y", 3), binary), ulk::sOk);
    EXPECT_EQ(m_storage->Set("empty", ""), ulk::sOk);
    EXPECT_EQ(m_storage->Set("'; DROP TABLE pairs; --", "x"), ulk::sOk);
    m_storage->Close();
    m_storage = Make();
    ASSERT_EQ(m_storage->Open(m_path), ulk::sOk);
    EXPECT_EQ(Value("key"), "two");
    EXPECT_EQ(Value(std::string("k\0y", 3)), binary);
    EXPECT_EQ(Value("empty"), "");
    std::string value;
    EXPECT_EQ(m_storage->Get("k", value), ulk::eNotFound);
    EXPECT_EQ(m_storage->Remove("key"), ulk::sOk);
    EXPECT_EQ(m_storage->Remove("key"), ulk::eNotFound);
    EXPECT_EQ(m_storage->Get("key", value), ulk::eNotFound);

    struct stat status {};
    ASSERT_EQ(::stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);
    ASSERT_EQ(::stat((m_folder / "a/b").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0700u);
}

TEST_F(KeyValueStorageTest, NothingOpen) {
    std::string value;
    EXPECT_EQ(m_storage->Get("k", value), ulk::eNotInitialized);
    EXPECT_EQ(m_storage->Set("k", "v"), ulk::eNotInitialized);
    EXPECT_EQ(m_storage->Remove("k"), ulk::eNotInitialized);
    m_storage->Close();
    EXPECT_EQ(m_storage->Open("relative.kvdb"), ulk::eInvalidArgument);
    ASSERT_EQ(m_storage->Open(""), ulk::sOk) << "in memory";
    EXPECT_EQ(m_storage->Set("k", "v"), ulk::sOk);
    EXPECT_EQ(Value("k"), "v");
}

TEST_F(KeyValueStorageTest, DamagedFileIsSetAside) {
    ASSERT_EQ(m_storage->Open(m_path), ulk::sOk);
    for (int i = 0; i < 500; ++i)
        ASSERT_EQ(m_storage->Set("key" + std::to_string(i), std::string(100, 'v')), ulk::sOk);
    m_storage->Close();
    const std::string sound = test::ReadFile(m_path);
    ASSERT_GT(sound.size(), 40000u);
    std::string overwritten = sound;
    overwritten.replace(8000, 20000, 20000, '\xAA');
    for (const std::string& damaged :
         {std::string("no database at all, but long enough to be read as a header of one......................."),
          overwritten, sound.substr(0, sound.size() / 2)}) {
        test::WriteFile(m_path, damaged);
        ASSERT_EQ(m_storage->Open(m_path), ulk::sOk);
        EXPECT_EQ(test::ReadFile(m_path + ".bad"), damaged) << "what was there is kept for whoever can use it";
        std::string value;
        EXPECT_EQ(m_storage->Get("key1", value), ulk::eNotFound);
        EXPECT_EQ(m_storage->Set("key1", "new"), ulk::sOk);
        m_storage->Close();
        ASSERT_EQ(m_storage->Open(m_path), ulk::sOk);
        EXPECT_EQ(Value("key1"), "new");
        m_storage->Close();
        ::unlink((m_path + ".bad").c_str());
    }
}

TEST_F(KeyValueStorageTest, LinksAndForeignFilesAreRefused) {
    const std::string victim = m_folder / "victim";
    test::WriteFile(victim, "precious");
    ASSERT_EQ(::mkdir((m_folder / "own").c_str(), 0700), 0);
    const std::string path = m_folder / "own/test.kvdb";
    ASSERT_EQ(::symlink(victim.c_str(), path.c_str()), 0);
    EXPECT_EQ(m_storage->Open(path), ulk::eAccessDenied);
    ::unlink(path.c_str());
    ASSERT_EQ(::link(victim.c_str(), path.c_str()), 0);
    EXPECT_EQ(m_storage->Open(path), ulk::eAccessDenied);
    ::unlink(path.c_str());
    ASSERT_EQ(::mkdir(path.c_str(), 0700), 0);
    EXPECT_TRUE(ULK_FAILED(m_storage->Open(path)));
    EXPECT_EQ(test::ReadFile(victim), "precious");
    ASSERT_EQ(::symlink((m_folder / "own").c_str(), (m_folder / "link").c_str()), 0);
    EXPECT_EQ(m_storage->Open(m_folder / "link/other.kvdb"), ulk::eAccessDenied);
    std::string value;
    EXPECT_EQ(m_storage->Get("k", value), ulk::eNotInitialized) << "a failed opening leaves nothing open";
}

TEST_F(KeyValueStorageTest, ManyThreads) {
    ASSERT_EQ(m_storage->Open(m_path), ulk::sOk);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([this, t] {
            for (int i = 0; i < 25; ++i) {
                const std::string key = std::to_string(t) + "." + std::to_string(i);
                EXPECT_EQ(m_storage->Set(key, key), ulk::sOk);
                EXPECT_EQ(Value(key), key);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(Value("3.24"), "3.24");
}

} // namespace
