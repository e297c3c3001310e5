// SPDX-License-Identifier: GPL-2.0-or-later
// What a policy lets users do with tasks, asked of a whole service.
#include <tests/unit/service/service_fixture.h>

#include <gtest/gtest.h>
#include <unistd.h>

namespace tfs::service::app {
namespace {

using tests::Eventually;
using tests::TempFolder;

constexpr rpc::Caller User{4321, false, 0};
constexpr rpc::Caller OtherUser{4322, false, 0};
constexpr rpc::Caller Administrator{0, true, 0};

TEST(TaskPolicy, AnswersOfThePolicyProviderAreThoseOfTheCommands) {
    const TempFolder folder;
    ServiceOptions options;
    options.developmentRun = true;
    ServiceApp service(PathsIn(folder), options);
    std::string problem;
    ASSERT_EQ(service.Start(problem), ulk::sOk) << problem;
    rpc::IServiceApi& api = service.Api();
    core::TaskInfo scan;
    ASSERT_EQ(api.CreateScanTask(User, ScanSettings{{"/nowhere"}}, scan), ulk::sOk);
    const std::u16string name{std::u16string_view(scan.taskName)};
    const auto may = [&](const rpc::Caller& caller, const std::u16string& task) {
        bool start = false;
        bool stop = false;
        EXPECT_EQ(api.CanBeStarted(caller, task, start), ulk::sOk);
        EXPECT_EQ(api.CanBeStopped(caller, task, stop), ulk::sOk);
        EXPECT_EQ(start, stop);
        return stop;
    };
    EXPECT_TRUE(may(User, u"Scan_My_Computer"));
    EXPECT_TRUE(may(User, name));
    EXPECT_FALSE(may(OtherUser, name));
    EXPECT_EQ(api.StopTask(OtherUser, name), ulk::eAccessDenied);
    EXPECT_EQ(api.DeleteTask(OtherUser, name), ulk::eAccessDenied);

    WritePolicy(folder, "tasks.ini", "[Policy]\nAllowUserManageLocalTasks=no\nAllowUserManageGroupTasks=yes\n");
    bool local = true;
    bool group = false;
    ASSERT_TRUE(Eventually([&] { return api.IsUserManageTasksAllowed(local, group) == ulk::sOk && !local; }));
    EXPECT_TRUE(group);
    ASSERT_TRUE(Eventually([&] { return !may(User, name); }));
    EXPECT_FALSE(may(User, u"Scan_My_Computer"));
    EXPECT_EQ(api.StartTask(User, u"Scan_My_Computer"), ulk::eAccessDenied);
    EXPECT_EQ(api.PauseTask(User, u"2"), ulk::eAccessDenied);
    EXPECT_EQ(api.ResumeTask(User, u"2"), ulk::eAccessDenied);
    EXPECT_EQ(api.DeleteTask(User, name), ulk::eAccessDenied);
    EXPECT_TRUE(may(Administrator, name));
    EXPECT_EQ(api.DeleteTask(Administrator, u"2"), ulk::eNotSupported);
    EXPECT_EQ(api.DeleteTask(Administrator, name), ulk::sOk);
    bool allowed = true;
    EXPECT_EQ(api.CanBeStarted(Administrator, name, allowed), ulk::eNotFound);
    EXPECT_FALSE(allowed);
}

} // namespace
} // namespace tfs::service::app
