// SPDX-License-Identifier: GPL-2.0-or-later
// Where the service knows from what it tells of itself: the package manager, mapped files, the system.
#include <service/app_info/program_output.h>
#include <service/app_info/replaced_files.h>
#include <service/app_info/system_info.h>
#include <service/app_info/update_watch.h>
#include <tests/unit/service/fake_packages.h>
#include <tests/unit/service/waiting.h>

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

namespace tfs::service::app_info {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using tests::Content;
using tests::Eventually;
using tests::FakePackages;
using tests::Script;
using tests::TempFolder;

constexpr auto Never = [] { return false; };

TEST(ProgramOutput, IsTakenOnlyFromAProgramThatEndsWell) {
    const TempFolder folder;
    const auto run = [&](const std::string& body, std::chrono::milliseconds deadline = 30s) {
        return ProgramOutput({Script(folder, "program", body), "a b"}, deadline, Never);
    };
    EXPECT_EQ(run("printf '%s|%s|' \"$1\" \"$LC_ALL\"; cat"), "a b|C|");
    EXPECT_EQ(run("printf x; exit 1"), std::nullopt);
    EXPECT_EQ(run("kill -9 $$"), std::nullopt);
    EXPECT_EQ(run("yes", 60s), std::nullopt) << "no end of it";
    EXPECT_EQ(run("sleep 1000", 50ms), std::nullopt);
    EXPECT_EQ(run("exec >&-; sleep 1000", 50ms), std::nullopt);
    EXPECT_EQ(ProgramOutput({folder.File("missing")}, 30s, Never), std::nullopt);
    EXPECT_EQ(ProgramOutput({Script(folder, "program", "sleep 1000")}, 1h, [] { return true; }), std::nullopt);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
}

TEST(PackageManager, TellsTheVersionThatItWouldInstall) {
    FakePackages packages;
    const auto look = [&] { return PackageManager(packages.Options()).Look(Never); };
    EXPECT_FALSE(look()) << "there is no package manager";
    packages.Set("installed", "10.1.4", "10.1.5");
    ASSERT_TRUE(look());
    EXPECT_EQ(look()->installed, "10.1.4");
    EXPECT_EQ(look()->available, "10.1.5");
    EXPECT_FALSE(look()->isBroken);
    packages.Set("installed", "10.1.4", "10.1.4");
    EXPECT_EQ(look()->available, "");
    packages.Set("half-configured", "10.1.4", "10.1.4");
    EXPECT_TRUE(look()->isBroken);
    packages.Set("config-files", "10.1.4", "10.1.5");
    EXPECT_FALSE(look()) << "it was removed";
    EXPECT_FALSE(ParsePolicy("tesl:\n  Installed: (none)\n  Candidate: 1\n"));
    EXPECT_FALSE(ParsePolicy("N: Unable to locate package tesl\n"));
    EXPECT_EQ(ParsePolicy("tesl:\n  Installed: 1\n  Candidate: (none)\n")->available, "");
}

TEST(PackageManager, IsAskedAgainOnlyWhenWhatItKeepsHasChangedAndHoldsStill) {
    FakePackages packages;
    packages.Set("installed", "1", "1");
    PackageManager manager(packages.Options());
    ASSERT_TRUE(manager.Look(Never));
    manager.Look(Never);
    EXPECT_EQ(packages.Asked(), 1u);
    packages.Set("half-installed", "2", "2"); // in the middle of an installation
    EXPECT_FALSE(manager.Look(Never)->isBroken);
    packages.Touch();
    EXPECT_FALSE(manager.Look(Never)->isBroken);
    EXPECT_EQ(packages.Asked(), 1u);
    packages.Set("installed", "2", "2");
    manager.Look(Never);
    EXPECT_EQ(manager.Look(Never)->installed, "2");
    EXPECT_EQ(packages.Asked(), 2u);
}

TEST(GoneFiles, AreThoseWithTheMarkOfADeletedMapping) {
    EXPECT_EQ(GoneFiles("55d0-55d1 r-xp 0 fe:01 12 /opt/a b (deleted)\n"
                        "7f00-7f01 r--p 0 fe:01 13 /opt/lib.so\n"
                        "7f02-7f03 rw-p 0 00:00 0 [heap]\n"
                        "7f02-7f03 rw-p 0 00:00 0\n"
                        "55d1-55d2 r--p 0 fe:01 12 /opt/a b (deleted)"),
              std::vector<std::string>{"/opt/a b"});
    EXPECT_TRUE(GoneFilesOf(-1).empty());
}

/// A process of a program of the test's own, under the name that is asked for.
class Sleeper {
public:
    explicit Sleeper(const std::string& program) {
        fs::copy_file("/bin/sleep", program);
        std::string name = program;
        std::string time = "1000";
        char* arguments[] = {name.data(), time.data(), nullptr};
        char* environment[] = {nullptr};
        EXPECT_EQ(::posix_spawn(&m_pid, program.c_str(), nullptr, nullptr, arguments, environment), 0);
        // The parent goes on as soon as the child has left its memory, which may be before the program is mapped.
        const std::string maps = "/proc/" + std::to_string(m_pid) + "/maps";
        EXPECT_TRUE(Eventually([&] { return Content(maps).find(program) != std::string::npos; }));
    }
    ~Sleeper() {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;
    pid_t Pid() const { return m_pid; }

private:
    pid_t m_pid = -1;
};

/// As an installer does.
void Replace(const std::string& program) {
    fs::copy_file("/bin/true", program + ".new");
    fs::rename(program + ".new", program);
}

TEST(UpdateWatch, SeesThatTheProgramOnDiskIsNotTheOneThatRuns) {
    const TempFolder folder;
    const std::string program = folder.File("tesl-scanner");
    const Sleeper scanner(program);
    FakePackages packages;
    packages.Set("installed", "2", "3");
    UpdateWatch watch({{program}, folder.File("lib/"), packages.Options()});
    EXPECT_EQ(watch.Look(scanner.Pid(), Never), (ApplicationUpdate{ApplicationUpdateState::UpdateDownloaded, "3", {}}));
    Replace(program);
    EXPECT_EQ(watch.Look(scanner.Pid(), Never), (ApplicationUpdate{ApplicationUpdateState::UpdateInstalled, "2", {}}));
    EXPECT_EQ(watch.Look(-1, Never).state, ApplicationUpdateState::UpdateDownloaded) << "it runs no more";
    fs::remove(program);
    EXPECT_EQ(watch.Look(scanner.Pid(), Never).state, ApplicationUpdateState::UpdateDownloaded)
        << "a restart would bring nothing newer";
}

TEST(UpdateWatch, SeesThatALibraryWasReplaced) {
    const TempFolder folder;
    fs::create_directories(folder.File("lib"));
    for (const char* const name : {"libclamav.so.11.0.2", "lib/instrumental_services.so"}) {
        const Sleeper process(folder.File(name));
        UpdateWatch watch({{folder.File("other")}, folder.File("lib/"), {"tesl", folder.File("no-root")}});
        EXPECT_EQ(watch.Look(process.Pid(), Never), ApplicationUpdate());
        fs::remove(folder.File(name)); // the newer one has another name
        EXPECT_EQ(watch.Look(process.Pid(), Never),
                  (ApplicationUpdate{ApplicationUpdateState::ModuleUpdateInstalled, {}, fs::path(name).filename()}));
    }
}

TEST(SystemInfo, IsReadAsAShellWould) {
    const TempFolder folder;
    const std::string file = folder.Write("os-release", "# a comment\nID=x\nNAME=\"The \\\"Best\\\" Linux\"\n"
                                                        "VERSION_ID=7\nVERSION='12 (a=b)'\nBAD\n");
    const std::string plain = folder.Write("plain", "NAME=Plain\nVERSION_ID=\"7.1\"\n");
    const SystemInfo info = ReadSystemInfo({folder.File("missing"), file, plain});
    EXPECT_EQ(info.name, "The \"Best\" Linux");
    EXPECT_EQ(info.version, "12 (a=b)");
    EXPECT_EQ(ReadSystemInfo({plain}).version, "7.1");
    const SystemInfo kernel = ReadSystemInfo({folder.Write("empty", "")});
    EXPECT_EQ(kernel.name, "Linux");
    EXPECT_FALSE(kernel.version.empty());
}

} // namespace
} // namespace tfs::service::app_info
