// SPDX-License-Identifier: GPL-2.0-or-later
// What could hang the machine, or let a threat by unseen: each is tried.
#include <tests/unit/service/realtime_harness.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::test {
namespace {

using namespace std::chrono_literals;
using types::AdditionalName;
using types::EventName;
using types::FileScanMode;

void SignalAll(Scanner& scanner, int number) {
    for (const pid_t worker : scanner.Workers())
        ::kill(worker, number);
    ::kill(scanner.Parent(), number);
}

FileMonitoringSettings Quick(FileMonitoringSettings settings) {
    settings.deadlineSeconds = 1;
    return settings;
}

TEST_F(RealtimeTest, AScannerThatHangsHoldsNobodyUp) {
    Scanner scanner;
    Protection protection(scanner, Quick(Settings(FileScanMode::Open)));
    ASSERT_TRUE(protection.Begins());
    const std::string threat = m_files->Place("threat", TestThreat());
    SignalAll(scanner, SIGSTOP);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(OpenInChild(threat), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 900ms);
    EXPECT_TRUE(Eventually(
        [&] { return protection.host.Tells(EventName::ObjectNotProcessed, AdditionalName::FileName, threat); }));
    EXPECT_TRUE(Eventually([&] { return protection.host.waits > 0; }));
    const auto away = std::chrono::steady_clock::now();
    for (int i = 0; i < 20; ++i) // the marks are gone: nobody waits any more
        EXPECT_EQ(OpenInChild(m_files->Place("free" + std::to_string(i), "x")), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - away, 1s);
    SignalAll(scanner, SIGCONT);
    EXPECT_TRUE(Eventually([&] { return protection.host.begun > 1; }));
    EXPECT_TRUE(Eventually([&] { return OpenInChild(threat) == EPERM; }));
}

TEST_F(RealtimeTest, AScannerThatIsKilledComesBack) {
    Scanner scanner;
    Protection protection(scanner, Settings(FileScanMode::Open));
    ASSERT_TRUE(protection.Begins());
    const std::string threat = m_files->Place("threat", TestThreat());
    ::kill(scanner.Parent(), SIGKILL);
    EXPECT_EQ(OpenInChild(threat), EPERM) << "it is waited for";
}

TEST_F(RealtimeTest, WithoutAScannerEverybodyIsLetThroughUntilThereIsOne) {
    TemporaryFolder folder;
    ScannerConfig config = TestConfig();
    config.program = folder / "scanner";
    std::filesystem::copy_file(TESL_TEST_SCANNER, config.program);
    Scanner scanner(config);
    Protection protection(scanner, Quick(Settings(FileScanMode::Open)));
    ASSERT_TRUE(protection.Begins());
    const std::string threat = m_files->Place("threat", TestThreat());
    std::filesystem::rename(folder / "scanner", folder / "away");
    ::kill(scanner.Parent(), SIGKILL);
    ASSERT_TRUE(Eventually([&] { return !scanner.Service().State().loaded; })); // no worker answers any more
    EXPECT_EQ(OpenInChild(threat), 0);
    EXPECT_TRUE(Eventually([&] { return protection.host.waits > 0; }));
    std::filesystem::rename(folder / "away", folder / "scanner");
    (void)scanner.Service().Start();
    EXPECT_TRUE(Eventually([&] { return protection.host.begun > 1; }));
    EXPECT_TRUE(Eventually([&] { return OpenInChild(threat) == EPERM; }));
}

/// What was opened is decided about, whatever bears its name by now.
TEST_F(RealtimeTest, AFileReplacedUnderTheCheckIsNotMistaken) {
    Scanner scanner;
    Protection protection(scanner, Settings(FileScanMode::Open));
    ASSERT_TRUE(protection.Begins());
    const std::string path = m_files->Place("file", TestThreat());
    struct stat threat {};
    ASSERT_EQ(::stat(path.c_str(), &threat), 0);
    SignalAll(scanner, SIGSTOP);
    Child opener([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC) < 0 ? errno : 0; });
    ASSERT_TRUE(Eventually([&] { return opener.IsHeldUp(); }));
    std::filesystem::rename(m_files->Place("clean", "harmless\n"), path);
    SignalAll(scanner, SIGCONT);
    EXPECT_EQ(opener.Wait(), EPERM);
    ASSERT_TRUE(Eventually([&] { return protection.keeper.Objects().size() == 1; }));
    EXPECT_EQ(protection.keeper.Objects().front().inode, threat.st_ino);
    EXPECT_EQ(OpenInChild(path), 0);
}

TEST_F(RealtimeTest, EventsThatWereLostAreMadeUpFor) {
    Scanner scanner;
    Protection protection(scanner, Settings(FileScanMode::SmartCheck));
    ASSERT_TRUE(protection.Begins());
    constexpr int More = 20000; // than the kernel keeps
    SignalAll(scanner, SIGSTOP);
    const std::string path = m_files->Path();
    const std::string threat = TestThreat();
    Child writer([&] {
        for (int i = 0; i < More; ++i) {
            char name[256];
            std::snprintf(name, sizeof name, "%s/%d", path.c_str(), i);
            const int file = ::open(name, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
            const std::string_view content = i == More - 1 ? std::string_view(threat) : std::string_view("x");
            if (file < 0 || ::write(file, content.data(), content.size()) < 0)
                return 1;
            ::close(file);
        }
        return 0;
    });
    ASSERT_EQ(writer.Wait(), 0);
    SignalAll(scanner, SIGCONT);
    const std::string last = path + "/" + std::to_string(More - 1);
    EXPECT_TRUE(Eventually([&] {
        return protection.host.Tells(EventName::ObjectNotProcessed, AdditionalName::SkipReason, "Events were lost");
    }));
    EXPECT_TRUE(
        Eventually([&] { return protection.host.Tells(EventName::ThreatDetected, AdditionalName::FileName, last); }));
}

TEST_F(RealtimeTest, TenThousandOpensASecondAreAllAnswered) {
    Scanner scanner;
    Protection protection(scanner, Settings(FileScanMode::OpenAndModify));
    ASSERT_TRUE(protection.Begins());
    constexpr int Files = 500;
    constexpr int Rounds = 100;
    for (int i = 0; i < Files; ++i)
        m_files->Place(std::to_string(i), "file " + std::to_string(i));
    const std::string path = m_files->Path();
    const auto work = [&] {
        for (int i = 0; i < Files * Rounds; ++i) {
            char name[256];
            std::snprintf(name, sizeof name, "%s/%d", path.c_str(), i % Files);
            const int file = ::open(name, O_RDONLY | O_CLOEXEC);
            if (file < 0)
                return errno;
            ::close(file);
        }
        return 0;
    };
    Child first(work);
    Child second(work);
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Wait(), 0);
    EXPECT_TRUE(protection.host.Told(EventName::ObjectNotProcessed, AdditionalName::FileName).empty());
    EXPECT_EQ(OpenInChild(m_files->Place("threat", TestThreat())), EPERM);
}

TEST_F(RealtimeTest, StoppingLetsEverybodyThrough) {
    Scanner scanner;
    Protection protection(scanner, Settings(FileScanMode::Open));
    ASSERT_TRUE(protection.Begins());
    const std::string threat = m_files->Place("threat", TestThreat());
    SignalAll(scanner, SIGSTOP);
    Child opener([&] { return ::open(threat.c_str(), O_RDONLY | O_CLOEXEC) < 0 ? errno : 0; });
    ASSERT_TRUE(Eventually([&] { return opener.IsHeldUp(); }));
    protection.Stop();
    EXPECT_EQ(opener.Wait(), 0);
    EXPECT_EQ(OpenInChild(threat), 0);
    SignalAll(scanner, SIGCONT);
}

} // namespace
} // namespace tfs::test
