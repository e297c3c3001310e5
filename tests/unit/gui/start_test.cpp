// SPDX-License-Identifier: GPL-2.0-or-later
// What main does before there is an application.
#include "gui_fixture.h"
#include "temp_folder.h"

#include <gui/common/certified_build.h>
#include <gui/restart_checker.h>
#include <gui/signal_handlers.h>
#include <gui/start_settings.h>

#include <atomic>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tfs::gui {
namespace {

using test::TempFolder;
using test::WaitUntil;

TEST(StartSettings, levelFollowsTheEnvironmentThenTheConfiguration) {
    const struct {
        bool all;
        std::int32_t configured;
        std::int32_t level;
    } rows[] = {{true, 0, 1000}, {true, 1, 1000}, {false, 0, 0},  {false, 1, 300},
                {false, 2, 800}, {false, 3, 0},   {false, -1, 0}, {false, 300, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(ChooseTraceLevel(row.all, row.configured), row.level) << row.all << row.configured;
        tfs::loader::ConfigData config;
        config.traceLevel = row.configured;
        EXPECT_EQ(MakeTracerSettings(config, "tesl-gui", row.all).enabled, row.level != 0);
    }
}

TEST(StartSettings, tracerSettingsAreThoseOfTheConfiguration) {
    tfs::loader::ConfigData config;
    config.logFolder = u"/somewhere/";
    config.traceFileSizeLimit = 3000; // beyond 32 bits of bytes
    config.traceFileCount = 5;
    const auto settings = MakeTracerSettings(config, "tesl-gui", true);
    EXPECT_EQ(ulk::text::ToUtf8Lossy(settings.fileStem), "tesl-gui." + std::to_string(::getpid()) + ".");
    EXPECT_TRUE(settings.folder == u"/somewhere/");
    EXPECT_EQ(settings.fileSizeLimit, 3'000'000'000u);
    EXPECT_EQ(settings.fileCount, 5u);
    EXPECT_TRUE(settings.lineFormat == u"%Y.%m.%d %X\t%I\t%p\t");
    EXPECT_EQ(ulk::text::ToUtf8Lossy(settings.modulePath),
              std::string(paths::Root) + "/opt/tolvander/tesl/libarm64/libinstrumental_services.so");
}

TEST(StartSettings, waylandIsAskedForWhereItIsTheOnlyDisplay) {
    const struct {
        const char* x11;
        const char* wayland;
        const char* asked;
        const char* platform;
    } rows[] = {{"", "wayland-0", nullptr, "wayland"}, {nullptr, "wayland-0", nullptr, "wayland"},
                {":0", "wayland-0", nullptr, nullptr}, {":0", nullptr, nullptr, nullptr},
                {nullptr, nullptr, nullptr, nullptr},  {nullptr, "", nullptr, nullptr},
                {nullptr, "wayland-0", "xcb", "xcb"}};
    const char* const names[] = {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"};
    const auto set = [](const char* name, const char* value) {
        (void)(value ? ::setenv(name, value, 1) : ::unsetenv(name));
    };
    std::vector<std::optional<std::string>> saved;
    for (const char* const name : names)
        saved.push_back(std::getenv(name) ? std::optional<std::string>(std::getenv(name)) : std::nullopt);
    for (const auto& row : rows) {
        set("DISPLAY", row.x11);
        set("WAYLAND_DISPLAY", row.wayland);
        set("QT_QPA_PLATFORM", row.asked);
        ChooseDisplay();
        EXPECT_STREQ(std::getenv("QT_QPA_PLATFORM"), row.platform) << &row - rows;
    }
    for (std::size_t i = 0; i < saved.size(); ++i)
        set(names[i], saved[i] ? saved[i]->c_str() : nullptr);
}

TEST(StartSettings, anUnknownLocaleIsPutBack) {
    ASSERT_EQ(::setenv("LC_ALL", "C", 1), 0);
    EXPECT_EQ(ApplyLocale("xx_XX.NONE"), ulk::eUnspecified);
    EXPECT_STREQ(std::getenv("LC_ALL"), "C");
    EXPECT_EQ(ApplyLocale("C.UTF-8"), ulk::sOk);
    EXPECT_STREQ(std::getenv("LC_ALL"), "C.UTF-8");
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C.UTF-8");
    ASSERT_EQ(::setenv("LC_ALL", "C", 1), 0);
    std::setlocale(LC_ALL, "C");
}

TEST(StartSettings, anUnknownLocaleLeavesItsVariableWhereThereWasNoneBefore) {
    ASSERT_EQ(::unsetenv("LC_ALL"), 0);
    EXPECT_EQ(ApplyLocale("xx_XX.NONE"), ulk::eUnspecified);
    EXPECT_STREQ(std::getenv("LC_ALL"), "xx_XX.NONE") << "there is no value to go back to";
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
    ASSERT_EQ(::setenv("LC_ALL", "C", 1), 0);
}

TEST(StartSettings, crashDumpsOfRootGoToTheCommonFolder) {
    const TempFolder folder;
    const auto settings = MakeCrashDumpSettings(0, folder.Path("users/"));
    EXPECT_EQ(ulk::text::ToUtf8Lossy(settings.folder),
              std::string(paths::Root) + "/var/opt/tolvander/tesl/common/dumps/");
    EXPECT_TRUE(settings.namePattern == u"tesl_%d_%p.dmp");
    EXPECT_EQ(settings.limit, 10u);
    EXPECT_FALSE(std::filesystem::exists(folder.Path("users")));
}

TEST(StartSettings, crashDumpsOfAUserGoToAFolderThatIsMade) {
    const TempFolder folder;
    const mode_t previous = ::umask(077);
    const auto settings = MakeCrashDumpSettings(1234, folder.Path("some/where/users/"));
    const auto again = MakeCrashDumpSettings(1234, folder.Path("some/where/users/"));
    ::umask(previous);
    const std::string path = folder.Path("some/where/users/1234");
    EXPECT_EQ(ulk::text::ToUtf8Lossy(settings.folder), path);
    EXPECT_EQ(ulk::text::ToUtf8Lossy(again.folder), path);
    EXPECT_TRUE(settings.namePattern == u"tesl_%d_%p.dmp");
    EXPECT_EQ(settings.limit, 10u);
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, mode_t{S_IFDIR | 0700});
}

TEST(StartSettings, aDumpFolderThatCanNotBeMadeIsNamedAllTheSame) {
    const TempFolder folder;
    std::ofstream(folder.Path("file")) << "in the way";
    const auto settings = MakeCrashDumpSettings(1234, folder.Path("file/users/"));
    EXPECT_EQ(ulk::text::ToUtf8Lossy(settings.folder), folder.Path("file/users/1234"));
}

TEST(StartSettings, everyTrayOnlyArgumentWaitsTenSeconds) {
    const struct {
        std::vector<const char*> arguments;
        std::size_t waits;
    } rows[] = {{{"tesl-gui"}, 0},
                {{"--tray-only"}, 0}, // the program's name
                {{"tesl-gui", "--tray-only"}, 1},
                {{"tesl-gui", "--tray-only", "file", "--tray-only"}, 2},
                {{"tesl-gui", "--tray-only=1", "-tray-only", "--TRAY-ONLY", "", "tray-only"}, 0}};
    for (const auto& row : rows) {
        std::vector<unsigned> waits;
        const bool isTrayOnly = ReadTrayOnly(static_cast<int>(row.arguments.size()), row.arguments.data(),
                                             [&waits](unsigned seconds) { waits.push_back(seconds); });
        EXPECT_EQ(waits, std::vector<unsigned>(row.waits, 10));
        EXPECT_EQ(isTrayOnly, row.waits > 0);
    }
}

TEST(CertifiedBuild, isToldByTheFirstLineAlone) {
    const TempFolder folder;
    const std::string marker = folder.Path("cert.info");
    EXPECT_FALSE(IsCertifiedBuild(marker));
    const struct {
        const char* text;
        bool certified;
    } rows[] = {{"Certified product", true},
                {"Certified product\nmore\n", true},
                {"Certified product\r\n", false},
                {" Certified product\n", false},
                {"\nCertified product\n", false},
                {"certified product\n", false},
                {"", false}};
    for (const auto& row : rows) {
        std::ofstream(marker, std::ios::trunc) << row.text;
        EXPECT_EQ(IsCertifiedBuild(marker), row.certified) << row.text;
    }
}

TEST(SignalHandlers, aHandlerThatIsSetAlreadyFailsTheStep) {
    test::FakeApplication app;
    ASSERT_EQ(::signal(SIGUSR2, SIG_IGN), SIG_DFL);
    EXPECT_EQ(InstallSignalHandler(SIGUSR2, SIG_DFL), ulk::sOk);
    ::signal(SIGUSR2, [](int) {});
    EXPECT_EQ(InstallSignalHandler(SIGUSR2, SIG_IGN), ulk::eUnspecified);
    EXPECT_EQ(app.tracer->Count(300, "Signal handler is already set for signum=" + std::to_string(SIGUSR2) + " to "),
              1u);
    EXPECT_EQ(InstallSignalHandler(SIGKILL, SIG_IGN), ulk::eUnspecified);
    EXPECT_EQ(app.tracer->Count(300, "Cannot set signal handler for signum=9"), 1u);
    ::signal(SIGUSR2, SIG_DFL);
}

class RestartCheckerTest : public ::testing::Test {
protected:
    RestartCheckerTest() { std::filesystem::create_symlink("/proc/self/exe", m_path); }

    RestartChecker::Options Options() {
        return {m_path, std::chrono::milliseconds(2), [this] { ++m_quits; },
                [this](const char* path, char* const* argv) {
                    ++m_executions;
                    m_executedPath = path;
                    for (; *argv != nullptr; ++argv)
                        m_executedArguments.emplace_back(*argv);
                }};
    }
    /// Puts another file in the installed one's place, as an update does.
    void Replace(mode_t mode) {
        const std::string fresh = m_folder.Path("fresh");
        std::ofstream(fresh) << "new";
        ASSERT_EQ(::chmod(fresh.c_str(), mode), 0);
        std::filesystem::rename(fresh, m_path);
    }

    TempFolder m_folder;
    std::string m_path = m_folder.Path("tesl-gui");
    std::atomic<int> m_quits{0};
    int m_executions = 0;
    std::string m_executedPath;
    std::vector<std::string> m_executedArguments;
    char m_name[9] = "tesl-gui";
    char m_option[12] = "--tray-only";
    char* m_argv[2] = {m_name, m_option};
};

TEST_F(RestartCheckerTest, aReplacedProgramIsExecutedWithTheSameArguments) {
    {
        const RestartChecker checker(2, m_argv, Options());
        ASSERT_TRUE(checker.IsWatching());
        Replace(0755);
        ASSERT_TRUE(WaitUntil([this] { return m_quits > 0; }));
        EXPECT_EQ(m_executions, 0) << "not before everything else has gone";
    }
    EXPECT_EQ(m_quits, 1);
    EXPECT_EQ(m_executions, 1);
    EXPECT_EQ(m_executedPath, m_path);
    EXPECT_EQ(m_executedArguments, (std::vector<std::string>{"tesl-gui", "--tray-only"}));
}

TEST_F(RestartCheckerTest, aProgramThatMayNoLongerBeExecutedEndsWithoutARestart) {
    {
        const RestartChecker checker(2, m_argv, Options());
        Replace(0600); // executable for nobody, so that root is refused too
        ASSERT_TRUE(WaitUntil([this] { return m_quits > 0; }));
    }
    EXPECT_EQ(m_quits, 1);
    EXPECT_EQ(m_executions, 0);
}

TEST_F(RestartCheckerTest, aMissingProgramIsWaitedFor) {
    {
        const RestartChecker checker(2, m_argv, Options());
        const std::string aside = m_folder.Path("aside");
        std::filesystem::rename(m_path, aside);
        // Ten passes over a missing file.
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
        ASSERT_TRUE(WaitUntil([&] { return std::chrono::steady_clock::now() > end; }));
        EXPECT_EQ(m_quits, 0);
        std::filesystem::rename(aside, m_path);
    }
    EXPECT_EQ(m_quits, 0);
    EXPECT_EQ(m_executions, 0);
}

TEST_F(RestartCheckerTest, aProgramFromAnyOtherPlaceIsNotWatched) {
    Replace(0755);
    {
        const RestartChecker checker(2, m_argv, Options());
        EXPECT_FALSE(checker.IsWatching());
    }
    EXPECT_EQ(m_executions, 0);
}

} // namespace
} // namespace tfs::gui
