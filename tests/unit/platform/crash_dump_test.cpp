// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/unit/platform/loader_fixture.h>

#include <csignal>
#include <cstdlib>
#include <regex>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace test;

class CrashDumpTest : public LoaderTest {
protected:
    /// Runs an application in a child process; its wait status.
    int RunInChild(Application::Body body) {
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(Run(std::move(body)));
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        m_child = child;
        return status;
    }
    std::vector<std::string> Dumps() const {
        std::vector<std::string> names;
        if (std::filesystem::exists(m_folder / "dumps"))
            for (const auto& entry : std::filesystem::directory_iterator(m_folder / "dumps"))
                names.push_back(entry.path().filename().string());
        return names;
    }

    pid_t m_child = 0;
};

void Abort(auto*, auto*) { std::abort(); }

TEST_F(CrashDumpTest, FatalSignalLeavesADumpAndItsOwnStatus) {
    const int status = RunInChild([](auto* a, auto* b) {
        Abort(a, b);
        return 0;
    });
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGABRT);
    const auto dumps = Dumps();
    ASSERT_EQ(dumps.size(), 1u);
    EXPECT_TRUE(
        std::regex_match(dumps.front(), std::regex("tesl_20[0-9]{6}-[0-9]{6}_" + std::to_string(m_child) + "\\.dmp")))
        << dumps.front();
    const std::string path = m_folder / "dumps/" + dumps.front();
    const std::string text = ReadFile(path);
    EXPECT_EQ(text.find("signal: " + std::to_string(SIGABRT) + "\n"), 0u) << text.substr(0, 200);
    EXPECT_NE(text.find("libapp_core_legacy.so"), std::string::npos) << "stack and maps";
    EXPECT_NE(text.find("pid: " + std::to_string(m_child) + "\n"), std::string::npos);
    struct stat file {};
    ASSERT_EQ(::stat(path.c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 0777u, 0600u);
}

TEST_F(CrashDumpTest, KeepsTheNewestUpToTheLimit) {
    std::filesystem::create_directory(m_folder / "dumps");
    const auto now = std::filesystem::file_time_type::clock::now();
    for (int i = 0; i < 6; ++i) {
        const std::string path = m_folder / ("dumps/tesl_20200101-00000" + std::to_string(i) + "_1.dmp");
        WriteFile(path, "old");
        std::filesystem::last_write_time(path, now - std::chrono::hours(10 - i));
    }
    WriteFile(m_folder / "dumps/tesl_notes.dmp", "somebody's");
    RunInChild([](auto* a, auto* b) {
        Abort(a, b);
        return 0;
    });
    auto dumps = Dumps();
    EXPECT_EQ(dumps.size(), 4u) << "three dumps and the file that is none";
    EXPECT_NE(std::find(dumps.begin(), dumps.end(), "tesl_20200101-000005_1.dmp"), dumps.end());
    EXPECT_EQ(std::find(dumps.begin(), dumps.end(), "tesl_20200101-000000_1.dmp"), dumps.end());
    EXPECT_NE(std::find(dumps.begin(), dumps.end(), "tesl_notes.dmp"), dumps.end());
}

TEST_F(CrashDumpTest, AnotherHandlerKeepsItsSignal) {
    std::signal(SIGABRT, [](int) { ::_exit(77); });
    const int status = RunInChild([](auto* a, auto* b) {
        Abort(a, b);
        return 0;
    });
    std::signal(SIGABRT, SIG_DFL);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 77);
    EXPECT_TRUE(Dumps().empty());
}

TEST_F(CrashDumpTest, WithoutAUsableFolderTheSignalStillEnds) {
    WriteFile(m_folder / "file", "");
    m_crashDumps.folder = Utf16(m_folder / "file/dumps");
    int status = RunInChild([](auto* a, auto* b) {
        Abort(a, b);
        return 0;
    });
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);

    m_crashDumps.folder = Utf16(m_folder / "dumps");
    for (const char16_t* pattern : {u"../escape_%p", u""}) {
        m_crashDumps.namePattern = pattern;
        status = RunInChild([](auto* a, auto* b) {
            Abort(a, b);
            return 0;
        });
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
    }
    EXPECT_TRUE(Dumps().empty());
}

TEST_F(CrashDumpTest, AFolderThatANeighbourLaidThereGetsNoDumpAndTheTraceSaysSo) {
    const std::string neighbours = m_folder / "neighbours";
    const auto abortIn = [this](const std::string& folder) {
        m_crashDumps.folder = Utf16(folder);
        const int status = RunInChild([](auto* a, auto* b) {
            Abort(a, b);
            return 0;
        });
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
        EXPECT_NE(Log().find("No crash dump can be written in " + folder), std::string::npos);
    };
    ASSERT_EQ(::mkdir(neighbours.c_str(), 0700), 0);
    ASSERT_EQ(::symlink("neighbours", (m_folder / "dumps").c_str()), 0);
    abortIn(m_folder / "dumps/");
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(neighbours.c_str(), 12345, 12345), 0);
        abortIn(neighbours);
    }
    EXPECT_TRUE(std::filesystem::is_empty(neighbours));
}

TEST_F(CrashDumpTest, SignalsAreGivenBackAfterTheRun) {
    Run([](auto*, auto*) {
        struct sigaction current {};
        ::sigaction(SIGILL, nullptr, &current);
        EXPECT_NE(current.sa_flags & SA_SIGINFO, 0);
        return 0;
    });
    struct sigaction current {};
    ::sigaction(SIGABRT, nullptr, &current);
    EXPECT_EQ(current.sa_handler, SIG_DFL);
}

} // namespace
