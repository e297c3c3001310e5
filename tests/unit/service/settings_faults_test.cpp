// SPDX-License-Identifier: GPL-2.0-or-later
// Settings where the disk or the memory fails: everything is new, or everything is as it was.
#include <service/settings/settings_store.h>
#include <tests/unit/remoting/starving_allocator.h>
#include <tests/unit/service/temp_folder.h>

#include <cerrno>
#include <functional>
#include <gtest/gtest.h>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// What happens when a folder is synced, which is when its file has been replaced; none: what always does.
std::function<int()> onFolderSync;

} // namespace

// The product's own calls come here too.
extern "C" int fsync(int fd) {
    struct stat status {};
    if (onFolderSync && ::fstat(fd, &status) == 0 && S_ISDIR(status.st_mode))
        return onFolderSync();
    return static_cast<int>(::syscall(SYS_fsync, fd));
}

namespace tfs::service::settings {
namespace {

using tests::Content;
using tests::TempFolder;
using tfs::settings::AppSettings;
using tfs::settings::ChangeItem;
using tfs::settings::SettingsChangeList;
using tfs::settings::ValidationMessage;

struct SettingsFaults : testing::Test {
    void Open() {
        told = 0;
        store =
            std::make_unique<SettingsStore>(SettingsStore::Options{path, folder.File("none"), {}}, LoadSettings(path));
        store->Listen([this](const SettingsChange&) { ++told; });
    }
    result_t SetEvents(const char* number) {
        return store->Apply({AppSettings::TypeNumber, {{"MaxEventsNumber", number}}, false}, false, 0, messages);
    }
    void ExpectChanged() {
        onFolderSync = nullptr;
        EXPECT_EQ(store->Current()->application.maxEventsNumber, 3000u);
        EXPECT_EQ(LoadSettings(path).settings.application.maxEventsNumber, 3000u);
        EXPECT_EQ(told, 1);
    }
    bool Exists(const std::string& name) const { return std::filesystem::exists(folder.File(name)); }

    TempFolder folder;
    std::string path = folder.File("service.json");
    std::string aside = path + ".damaged";
    std::unique_ptr<SettingsStore> store;
    int told = 0;
    std::vector<ValidationMessage> messages;
};

TEST_F(SettingsFaults, WhatCouldNotBeUsedIsSetAsideByTheFirstChange) {
    const std::string large(1100000, ' ');
    const struct {
        const char* name;
        std::function<void()> make;
        std::function<bool()> isAside;
    } cases[] = {
        {"a wrong value", [&] { folder.Write("service.json", R"({"scanScope": []})"); },
         [&] { return Content(aside) == R"({"scanScope": []})"; }},
        {"too large", [&] { folder.Write("service.json", large); }, [&] { return Content(aside) == large; }},
        {"a pipe", [&] { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); },
         [&] { return std::filesystem::is_fifo(aside); }},
        {"a folder",
         [&] {
             ASSERT_EQ(::mkdir(path.c_str(), 0700), 0);
             folder.Write("service.json/mine", "mine");
         },
         [&] { return Content(aside + "/mine") == "mine"; }},
    };
    for (const auto& [name, make, isAside] : cases) {
        std::filesystem::remove_all(path);
        std::filesystem::remove_all(aside);
        make();
        Open();
        EXPECT_FALSE(Exists("service.json.damaged")) << name;
        ASSERT_EQ(SetEvents("3000"), ulk::sOk) << name;
        EXPECT_TRUE(isAside()) << name;
        EXPECT_EQ(LoadSettings(path).settings.application.maxEventsNumber, 3000u) << name;
        ASSERT_EQ(SetEvents("4000"), ulk::sOk) << name;
        EXPECT_TRUE(isAside()) << name << ", and stays";
    }
}

TEST_F(SettingsFaults, WhatCanNotBeSetAsideIsNotOverwritten) {
    ASSERT_EQ(::mkdir(aside.c_str(), 0700), 0);
    folder.Write("service.json.damaged/mine", "mine");
    for (const char* const content : {R"({"scanScope": []})", "{ garbage"}) {
        folder.Write("service.json", content);
        Open();
        EXPECT_TRUE(ULK_FAILED(SetEvents("3000"))) << content;
        EXPECT_EQ(Content(path), content);
        EXPECT_EQ(store->Current()->application, AppSettings());
        EXPECT_EQ(told, 0);
        EXPECT_EQ(Content(aside + "/mine"), "mine");
        EXPECT_FALSE(Exists("service.json.damaged.new"));
    }
    std::filesystem::remove_all(aside);
    EXPECT_EQ(SetEvents("3000"), ulk::sOk);
    EXPECT_EQ(Content(aside), "{ garbage");
}

TEST_F(SettingsFaults, AFailedWriteSetsNothingAside) {
    folder.Write("service.json", R"({"scanScope": []})");
    folder.Write("service.json.damaged", "of before");
    ASSERT_EQ(::mkdir((aside + ".new").c_str(), 0700), 0); // stands where the new content would be written
    Open();
    EXPECT_EQ(SetEvents("3000"), ulk::ResultFromErrno(EISDIR));
    EXPECT_EQ(Content(path), R"({"scanScope": []})");
    EXPECT_EQ(Content(aside), "of before");
}

TEST_F(SettingsFaults, AFolderThatIsNotSyncedLeavesTheChangeEverywhere) {
    Open();
    onFolderSync = [] {
        errno = EIO;
        return -1;
    };
    EXPECT_EQ(SetEvents("3000"), ulk::sOk);
    ExpectChanged();
}

TEST_F(SettingsFaults, NothingNeedsMemoryOnceTheFileIsReplaced) {
    Open();
    std::optional<tfs::test::Starvation> starvation;
    onFolderSync = [&starvation] {
        starvation.emplace(0);
        return 0;
    };
    const SettingsChangeList changes{AppSettings::TypeNumber, {{"MaxEventsNumber", "3000"}}, false};
    const result_t result = store->Apply(changes, false, 0, messages);
    ASSERT_TRUE(starvation);
    starvation.reset();
    EXPECT_EQ(result, ulk::sOk);
    ExpectChanged();
}

/// Each allocation that a policy takes fails once.
TEST_F(SettingsFaults, APolicyThatMemoryDoesNotSufficeForChangesNothing) {
    Open();
    Policy policy;
    policy.inForce = true;
    policy.settings = {AppSettings::TypeNumber, {{"TraceMaxFileCount", "9"}}, false};
    const EffectiveSettings before = *store->Current();
    int allocations = 0;
    for (bool done = false; !done && allocations < 100000; ++allocations) {
        try {
            const tfs::test::Starvation starvation(allocations);
            store->SetPolicy(policy);
            done = true;
        } catch (const std::bad_alloc&) {
            ASSERT_EQ(*store->Current(), before) << allocations;
            ASSERT_EQ(told, 0) << allocations;
        }
    }
    EXPECT_GT(allocations, 10);
    EXPECT_EQ(told, 1);
    EXPECT_EQ(store->Current()->application.traceMaxFileCount, 9u);
    EXPECT_TRUE(store->Current()->isUnderPolicy);
}

} // namespace
} // namespace tfs::service::settings
