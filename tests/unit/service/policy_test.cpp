// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/settings/policy_folder.h>
#include <service/settings/policy_watcher.h>
#include <tests/unit/foundation/test_services.h>
#include <tests/unit/service/temp_folder.h>
#include <tests/unit/service/waiting.h>

#include <gtest/gtest.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::service::settings {
namespace {

using tests::Eventually;
using tests::TempFolder;
using tfs::settings::ChangeItem;

struct PolicyFolderTest : testing::Test {
    PolicyFolderTest() { MakeFolder(); }

    void MakeFolder() { ASSERT_EQ(::mkdir(folder.File("policy.d").c_str(), 0755), 0); }
    void Write(const std::string& name, const std::string& content) {
        folder.Write("policy.d/" + name, content);
        ASSERT_EQ(::chmod(File(name).c_str(), 0644), 0);
    }
    std::string File(const std::string& name) const { return path + name; }
    Policy Read() const { return ReadPolicyFolder(services.locator.Get(), path, ::geteuid()); }
    /// One file is refused, for a reason that names it, and "good.ini" beside it counts.
    void ExpectOneRefused(const std::string& name, const char* reason) {
        const Policy policy = Read();
        EXPECT_TRUE(policy.inForce) << name;
        EXPECT_EQ(policy.name, "good") << name;
        ASSERT_EQ(policy.problems.size(), 1u) << name;
        EXPECT_EQ(policy.problems[0].path, File(name));
        EXPECT_NE(policy.problems[0].reason.find(reason), std::string::npos) << policy.problems[0].reason;
    }

    ulk::test::Services services;
    TempFolder folder;
    std::string path = folder.File("policy.d/");
};

TEST_F(PolicyFolderTest, FilesCountInTheOrderOfTheirNames) {
    EXPECT_EQ(Read(), Policy());
    Write("20-site.ini", "UseTSN=Off\nTraceLevel=Detailed\n[Policy]\nName = Site \"policy\"\n"
                         "AllowUserManageLocalTasks=no\nAllowUserManageGroupTasks=yes\n");
    Write("10-base.ini", "UseTSN=Basic\nUseSyslog=yes\n[Policy]\nAllowUserManageLocalTasks=yes\n");
    Write("30-late.ini~", "UseTSN=Extended\n");
    Write(".hidden.ini", "UseTSN=Extended\n");
    const Policy policy = Read();
    EXPECT_TRUE(policy.problems.empty());
    EXPECT_TRUE(policy.inForce);
    EXPECT_EQ(policy.name, "Site policy");
    EXPECT_EQ(policy.allowUserManageLocalTasks, false);
    EXPECT_EQ(policy.allowUserManageGroupTasks, true);
    EXPECT_EQ(policy.settings.items,
              (std::vector<ChangeItem>{
                  {"UseTSN", "Basic"}, {"UseSyslog", "yes"}, {"UseTSN", "Off"}, {"TraceLevel", "Detailed"}}));
    EXPECT_TRUE(policy.Locks("UseTSN"));
    EXPECT_FALSE(policy.Locks("usetsn"));
    EXPECT_FALSE(policy.Locks("MaxEventsNumber"));
}

TEST_F(PolicyFolderTest, AFileThatSaysNothingIsAPolicyUnderItsOwnName) {
    Write("nothing.ini", "\n");
    EXPECT_TRUE(Read().inForce);
    EXPECT_EQ(Read().name, "nothing");
}

TEST_F(PolicyFolderTest, AFileWithAnythingWrongInItIsNotAppliedAtAll) {
    Write("good.ini", "UseSyslog=yes\n");
    const struct {
        const char* content;
        const char* reason;
    } cases[] = {
        {"TraceLevel=Detailed\nNoSuchKey=1\n", "NoSuchKey"},
        {"TraceLevel=Detailed\nUseTSN=basic\n", "UseTSN"},
        {"MaxEventsNumber=1\n", "MaxEventsNumber"},
        {"[Policy]\nAllowUserManageLocalTasks=perhaps\n", "bool"},
        {"[Policy]\nAllowEverything=yes\n", "AllowEverything"},
        {"[Other]\nUseSyslog=yes\n", "Other.UseSyslog"},
        {"; a remark\n", "remark"},
    };
    for (const auto& [content, reason] : cases) {
        Write("a-bad.ini", content);
        ExpectOneRefused("a-bad.ini", reason);
        EXPECT_FALSE(Read().Locks("TraceLevel"));
    }
    Write("a-bad.ini", "TraceFolder=/" + std::string(5000, 'a') + "\n");
    ExpectOneRefused("a-bad.ini", "too long");
}

TEST_F(PolicyFolderTest, AFileThatAnotherMayHaveWrittenIsNotApplied) {
    Write("good.ini", "UseSyslog=yes\n");
    Write("a.ini", "TraceLevel=Detailed\n");
    for (const mode_t mode : {0664u, 0646u, 0666u}) {
        ASSERT_EQ(::chmod(File("a.ini").c_str(), mode), 0);
        ExpectOneRefused("a.ini", "others");
    }
    ASSERT_EQ(::unlink(File("a.ini").c_str()), 0);

    folder.Write("outside.ini", "TraceLevel=Detailed\n");
    ASSERT_EQ(::symlink(folder.File("outside.ini").c_str(), File("a.ini").c_str()), 0);
    ExpectOneRefused("a.ini", "link");
    ASSERT_EQ(::unlink(File("a.ini").c_str()), 0);

    ASSERT_EQ(::mkfifo(File("a.ini").c_str(), 0600), 0); // must not wait for a writer
    ExpectOneRefused("a.ini", "regular");
    ASSERT_EQ(::unlink(File("a.ini").c_str()), 0);

    ASSERT_EQ(::mkdir(File("a.ini").c_str(), 0700), 0);
    ExpectOneRefused("a.ini", "regular");
    ASSERT_EQ(::rmdir(File("a.ini").c_str()), 0);

    Write("a.ini", std::string(1024 * 1024, '\n'));
    EXPECT_TRUE(Read().problems.empty());
    Write("a.ini", std::string(1024 * 1024 + 1, '\n'));
    ExpectOneRefused("a.ini", "1 MiB");
}

TEST_F(PolicyFolderTest, ItsReadingIsTraced) {
    Write("a.ini", "UseSyslog=yes\nTraceLevel=None\n");
    EXPECT_TRUE(Read().inForce);
    EXPECT_EQ(services.tracer->lines, std::vector<std::string>{"ReadIni: 2 items"});
    EXPECT_TRUE(ReadPolicyFolder(nullptr, path, ::geteuid()).inForce);
}

TEST_F(PolicyFolderTest, OwnersOtherThanTheRightOneAreRefused) {
    Write("good.ini", "UseSyslog=yes\n");
    const Policy policy = ReadPolicyFolder(nullptr, path, ::geteuid() + 1);
    if (::geteuid() == 0) {
        EXPECT_TRUE(policy.inForce); // root's word counts whoever is asked for
        ASSERT_EQ(::chown(File("good.ini").c_str(), 65534, 65534), 0);
        EXPECT_FALSE(Read().inForce);
        EXPECT_NE(Read().problems.at(0).reason.find("65534"), std::string::npos);
        ASSERT_EQ(::chown(path.c_str(), 65534, 65534), 0);
        EXPECT_EQ(Read().problems.at(0).path, path);
    } else {
        EXPECT_FALSE(policy.inForce);
        EXPECT_EQ(policy.problems.at(0).path, path);
    }
}

TEST_F(PolicyFolderTest, AFolderThatAnotherMayWriteIsNotRead) {
    Write("good.ini", "UseSyslog=yes\n");
    ASSERT_EQ(::chmod(path.c_str(), 0775), 0);
    EXPECT_FALSE(Read().inForce);
    EXPECT_EQ(Read().problems.at(0).path, path);
    ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
    EXPECT_TRUE(Read().inForce);

    ASSERT_EQ(::rename(folder.File("policy.d").c_str(), folder.File("real").c_str()), 0);
    EXPECT_EQ(Read(), Policy()); // missing is no fault
    ASSERT_EQ(::symlink(folder.File("real").c_str(), folder.File("policy.d").c_str()), 0);
    EXPECT_FALSE(Read().inForce);
    EXPECT_EQ(Read().problems.size(), 1u);
    ASSERT_EQ(::unlink(folder.File("policy.d").c_str()), 0);
    folder.Write("policy.d", "a file");
    EXPECT_EQ(Read().problems.size(), 1u);
}

/// Keeps what the watcher tells.
struct PolicyWatcherTest : PolicyFolderTest {
    void Watch() {
        watcher = std::make_unique<PolicyWatcher>(path, ::geteuid(), nullptr, [this](const Policy& policy) {
            const std::lock_guard lock(mutex);
            told.push_back(policy);
        });
        watcher->Start();
    }
    std::string Name() {
        const std::lock_guard lock(mutex);
        return told.back().name;
    }
    std::size_t Count() {
        const std::lock_guard lock(mutex);
        return told.size();
    }
    bool Becomes(const std::string& name) {
        return Eventually([&] { return Name() == name; });
    }

    std::mutex mutex;
    std::vector<Policy> told;
    std::unique_ptr<PolicyWatcher> watcher;
};

TEST_F(PolicyWatcherTest, TellsOfEveryKindOfChange) {
    Watch();
    EXPECT_EQ(Count(), 1u); // what is there at the start
    EXPECT_EQ(Name(), "");
    Write("a.ini", "[Policy]\nName=one\n");
    EXPECT_TRUE(Becomes("one"));
    Write("a.ini", "[Policy]\nName=two\n");
    EXPECT_TRUE(Becomes("two"));
    folder.Write("new", "[Policy]\nName=three\n");
    ASSERT_EQ(::chmod(folder.File("new").c_str(), 0600), 0);
    ASSERT_EQ(::rename(folder.File("new").c_str(), File("a.ini").c_str()), 0);
    EXPECT_TRUE(Becomes("three"));
    ASSERT_EQ(::chmod(File("a.ini").c_str(), 0666), 0);
    EXPECT_TRUE(Becomes(""));
    ASSERT_EQ(::chmod(File("a.ini").c_str(), 0600), 0);
    EXPECT_TRUE(Becomes("three"));
    ASSERT_EQ(::chmod(path.c_str(), 0777), 0);
    EXPECT_TRUE(Becomes(""));
    ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
    EXPECT_TRUE(Becomes("three"));
    ASSERT_EQ(::unlink(File("a.ini").c_str()), 0);
    EXPECT_TRUE(Becomes(""));
}

TEST_F(PolicyWatcherTest, FollowsAFolderThatComesAndGoes) {
    path = folder.File("etc/opt/policy.d/");
    Watch();
    EXPECT_EQ(Name(), "");
    for (const char* name : {"first", "second"}) {
        std::filesystem::create_directories(path);
        std::ofstream(path + "a.ini") << "[Policy]\nName=" << name << "\n";
        EXPECT_TRUE(Becomes(name));
        std::filesystem::rename(folder.File("etc"), folder.File(name)); // the folder above the one above
        EXPECT_TRUE(Becomes(""));
        std::filesystem::rename(folder.File(name), folder.File("etc"));
        EXPECT_TRUE(Becomes(name));
        std::filesystem::remove_all(folder.File("etc"));
        EXPECT_TRUE(Becomes(""));
    }
}

TEST_F(PolicyWatcherTest, WhatIsNotAPolicyIsNotTold) {
    Write("a.ini", "[Policy]\nName=one\n");
    Watch();
    ASSERT_TRUE(Becomes("one"));
    for (int i = 0; i < 50; ++i)
        Write("a.ini.swp" + std::to_string(i), "x");
    Write("a.ini", "[Policy]\nName=one\n"); // the same again
    Write("b.ini", "[Policy]\nName=two\n");
    EXPECT_TRUE(Becomes("two"));
    EXPECT_EQ(Count(), 2u);
    watcher->Stop();
    Write("c.ini", "[Policy]\nName=three\n");
    watcher->Stop();
    EXPECT_EQ(Name(), "two");
}

} // namespace
} // namespace tfs::service::settings
