// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/folders.h>
#include <service/app/instance_lock.h>
#include <tests/unit/remoting/listening_descriptor.h>
#include <tests/unit/service/service_fixture.h>

#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tfs::service::app {
namespace {

using tests::Content;
using tests::Eventually;
using tests::TempFolder;
using types::EventName;

mode_t ModeOf(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

TEST(Folders, AreMadeWithTheirModesWhateverTheUmask) {
    const TempFolder folder;
    const mode_t before = ::umask(077);
    EXPECT_EQ(MakeFolder(folder.File("a/b/c/"), 0750), ulk::sOk);
    EXPECT_EQ(MakeFolder(folder.File("a/b/c"), 0700), ulk::sOk); // stays as it is
    ::umask(before);
    EXPECT_EQ(ModeOf(folder.File("a/b/c")), 0750u);
    EXPECT_EQ(ModeOf(folder.File("a")), 0755u);
    folder.Write("file", "");
    EXPECT_EQ(MakeFolder(folder.File("file"), 0700), ulk::eInvalidType);
    EXPECT_TRUE(ULK_FAILED(MakeFolder(folder.File("file/below"), 0700)));
}

TEST(Folders, SharedOnesAreStickyAndNobodyElses) {
    const TempFolder folder;
    const mode_t before = ::umask(077);
    EXPECT_EQ(MakeSharedFolder(folder.File("a/shared/")), ulk::sOk);
    ASSERT_EQ(::mkdir(folder.File("private").c_str(), 0700), 0);
    EXPECT_EQ(MakeSharedFolder(folder.File("private")), ulk::sOk) << "one that a window has made before";
    ::umask(before);
    EXPECT_EQ(ModeOf(folder.File("a/shared")), 01777u);
    EXPECT_EQ(ModeOf(folder.File("private")), 01777u);
    ASSERT_EQ(::mkdir(folder.File("target").c_str(), 0700), 0);
    ASSERT_EQ(::symlink("target", folder.File("link").c_str()), 0);
    EXPECT_EQ(MakeSharedFolder(folder.File("link/")), ulk::eInvalidType);
    EXPECT_EQ(ModeOf(folder.File("target")), 0700u);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(folder.File("target").c_str(), 12345, 12345), 0);
        EXPECT_EQ(MakeSharedFolder(folder.File("target")), ulk::eAccessDenied);
        EXPECT_EQ(ModeOf(folder.File("target")), 0700u);
    }
}

TEST(InstanceLock, IsHeldAgainstAnotherHolderAndGoesWithItsProcess) {
    const TempFolder folder;
    const std::string path = folder.File("lock");
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        InstanceLock lock;
        const char ok = lock.Acquire(path) == ulk::sOk ? 'y' : 'n';
        if (::write(ends[1], &ok, 1) != 1)
            ::_exit(1);
        ::pause();
    }
    char answer = 0;
    ASSERT_EQ(::read(ends[0], &answer, 1), 1);
    EXPECT_EQ(answer, 'y');
    InstanceLock lock;
    EXPECT_EQ(lock.Acquire(path), ulk::eLocked);
    EXPECT_EQ(Content(path), std::to_string(child) + "\n");
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_EQ(lock.Acquire(path), ulk::sOk);
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(InstanceLock, ALinkIsNotFollowed) {
    const TempFolder folder;
    const std::string victim = folder.Write("victim", "mine");
    ASSERT_EQ(::symlink(victim.c_str(), folder.File("lock").c_str()), 0);
    InstanceLock lock;
    EXPECT_TRUE(ULK_FAILED(lock.Acquire(folder.File("lock"))));
    EXPECT_EQ(Content(victim), "mine");
}

bool Answers(const std::string& socketPath) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool connected = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return connected;
}

TEST(ServiceApp, AnswersAtOnceAndSaysWhatItCanNotDo) {
    const TempFolder folder;
    const ServicePaths paths = PathsIn(folder);
    ServiceApp service(paths, {});
    std::string problem;
    ASSERT_EQ(service.Start(problem), ulk::sOk);
    EXPECT_FALSE(problem.empty()); // there is no tracer module
    EXPECT_TRUE(Answers(paths.socket));
    EXPECT_EQ(ModeOf(folder.File("var/private")), 0700u);
    ASSERT_TRUE(Eventually([&] { return CountOf(service.Events(), EventName::AVBasesIntegrityCheckFailed) == 1; }));
    AppInfo info;
    ASSERT_EQ(service.Api().GetAppInfo(info), ulk::sOk);
    EXPECT_FALSE(info.avBasesLoaded);
    EXPECT_FALSE(info.canRunProtection);
    EXPECT_EQ(info.avBasesDate, 0);
    EXPECT_EQ(info.lastMyCompScanTime, 0);
    EXPECT_FALSE(info.applicationVersion.empty());
    PolicyState policy;
    EXPECT_EQ(service.Api().GetPolicy(policy), ulk::sFalse);
    bool local = false;
    bool group = false;
    ASSERT_EQ(service.Api().IsUserManageTasksAllowed(local, group), ulk::sOk);
    EXPECT_TRUE(local && group);
    // Without a scanner a scan isn't pretended.
    ASSERT_EQ(service.Api().StartTask({::geteuid(), true, 0}, u"2"), ulk::sOk);
    EXPECT_TRUE(Eventually([&] { return CountOf(service.Events(), EventName::TaskNotStarted) >= 1; }));

    ServiceApp second(paths, {});
    EXPECT_EQ(second.Start(problem), ulk::eLocked);
    EXPECT_NE(problem.find("already running"), std::string::npos);
    EXPECT_TRUE(Answers(paths.socket)); // the first one's is untouched

    service.Stop();
    service.Stop();
    EXPECT_FALSE(std::filesystem::exists(paths.socket));
    ASSERT_EQ(second.Start(problem), ulk::sOk);
    EXPECT_EQ(CountOf(second.Events(), EventName::ApplicationStarted), 2u);
    EXPECT_EQ(CountOf(second.Events(), EventName::ApplicationStopped), 1u);
}

TEST(ServiceApp, ASocketThatBreaksIsToldToTheOwner) {
    const TempFolder folder;
    const ServicePaths paths = PathsIn(folder);
    std::atomic<int> failures{0};
    ServiceOptions options;
    options.onFailure = [&] { ++failures; };
    ServiceApp service(paths, options);
    std::string problem;
    ASSERT_EQ(service.Start(problem), ulk::sOk);
    EXPECT_EQ(service.Failure(), ulk::sOk);
    {
        const test::BrokenSocket broken(paths.socket);
        EXPECT_TRUE(Eventually([&] { return failures == 1; }));
    }
    EXPECT_TRUE(ULK_FAILED(service.Failure()));
    EXPECT_FALSE(Answers(paths.socket));
    service.Stop();
    ASSERT_EQ(service.Start(problem), ulk::sOk);
    EXPECT_EQ(service.Failure(), ulk::sOk);
    EXPECT_TRUE(Answers(paths.socket));
    std::vector<Event> stored;
    ASSERT_EQ(service.Events().ReadStored(0, service.Events().End().lastStoredId, 1000, stored), ulk::sOk);
    const auto stopped = std::find_if(stored.begin(), stored.end(),
                                      [](const Event& event) { return event.type == EventName::ApplicationStopped; });
    ASSERT_NE(stopped, stored.end());
    ulk::types::variant_t reason;
    ASSERT_EQ(stopped->GetAdditionalData(types::AdditionalName::ApplicationStopReason, reason), ulk::sOk);
    EXPECT_EQ(reason, ulk::types::variant_t(std::uint32_t{types::ApplicationStopReason::Crash}));
}

TEST(ServiceApp, SettingsReachTheAreas) {
    const TempFolder folder;
    const ServicePaths paths = PathsIn(folder);
    ASSERT_EQ(MakeFolder(folder.File("var"), 0755), ulk::sOk);
    folder.Write("var/service.json", R"({"scanScope": ["/staged"], "reportsForPrivilegedOnly": true,
                                         "allowUserManageLocalTasks": false})");
    ServiceApp service(paths, {});
    std::string problem;
    ASSERT_EQ(service.Start(problem), ulk::sOk);
    core::TaskInfo task;
    ASSERT_EQ(service.Api().GetTaskInfo(u"Scan_My_Computer", task), ulk::sOk);
    EXPECT_EQ(task.settings.Get<ScanSettings>()->areas, std::vector<std::string>{"/staged"});
    tfs::settings::AppSettings settings;
    ASSERT_EQ(service.Api().GetAppSettings(settings), ulk::sOk);
    EXPECT_TRUE(settings.uiReportsForRootOnly);
    EXPECT_EQ(service.Api().StartTask({12345, false, 0}, u"2"), ulk::eAccessDenied);
    EXPECT_EQ(CountOf(service.Events(), EventName::IntegrityCheckFailed), 0u);
}

TEST(ServiceApp, DamagedFilesAreToldByEventsAndDontKeepItFromStarting) {
    const TempFolder folder;
    const ServicePaths paths = PathsIn(folder);
    ASSERT_EQ(MakeFolder(folder.File("var/private/storage"), 0755), ulk::sOk);
    folder.Write("var/service.json", "{ garbage");
    folder.Write("var/private/storage/tasks.json", "garbage");
    ASSERT_EQ(MakeFolder(folder.File("var/opt/tolvander/tesl/private/storage"), 0755), ulk::sOk);
    folder.Write("var/opt/tolvander/tesl/private/storage/events.db", "garbage garbage garbage");
    ServiceApp service(paths, {});
    std::string problem;
    ASSERT_EQ(service.Start(problem), ulk::sOk);
    EXPECT_TRUE(Eventually([&] { return CountOf(service.Events(), EventName::IntegrityCheckFailed) == 3; }));
    for (const char* name :
         {"var/service.json", "var/private/storage/tasks.json", "var/opt/tolvander/tesl/private/storage/events.db"})
        EXPECT_TRUE(std::filesystem::exists(folder.File(std::string(name) + ".damaged"))) << name;
}

TEST(ServiceApp, WhatCanNotBeMadeIsAClearFailure) {
    const TempFolder folder;
    ServicePaths paths = PathsIn(folder);
    folder.Write("var", "a file where a folder should be");
    ServiceApp service(paths, {});
    std::string problem;
    EXPECT_TRUE(ULK_FAILED(service.Start(problem)));
    EXPECT_NE(problem.find("var"), std::string::npos) << problem;
}

TEST(ServiceApp, UsersHaveRoomForTheirTracesAndDumps) {
    const TempFolder folder;
    const ServicePaths paths = PathsIn(folder);
    folder.Write("elsewhere", "");
    ASSERT_EQ(MakeFolder(folder.File("var"), 0755), ulk::sOk);
    ASSERT_EQ(::symlink("elsewhere", folder.File("var/dumps-user").c_str()), 0);
    ServiceApp service(paths, {});
    std::string problem;
    ASSERT_EQ(service.Start(problem), ulk::sOk) << problem;
    EXPECT_EQ(ModeOf(paths.userTraceFolder), 01777u);
}

TEST(ServiceApp, StartsAgainAfterAKill) {
    const TempFolder folder;
    const ServicePaths paths = PathsIn(folder);
    for (int round = 0; round < 3; ++round) {
        const pid_t child = ::fork();
        if (child == 0) {
            ServiceApp service(paths, {});
            std::string problem;
            if (!ULK_SUCCEEDED(service.Start(problem)))
                ::_exit(1);
            ::pause();
        }
        EXPECT_TRUE(Eventually([&] { return Answers(paths.socket); }));
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status)) << "it ended by itself in round " << round;
    }
    ServiceApp service(paths, {});
    std::string problem;
    ASSERT_EQ(service.Start(problem), ulk::sOk);
    EXPECT_TRUE(Answers(paths.socket));
}

} // namespace
} // namespace tfs::service::app
