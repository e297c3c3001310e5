// SPDX-License-Identifier: GPL-2.0-or-later
// What the protection in real time denies, tells, and leaves alone, by the real kernel and the real scanner.
#include <tests/unit/service/realtime_harness.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <set>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using types::AdditionalName;
using types::EventName;
using types::FileScanMode;

TEST_F(RealtimeTest, DeniesAThreatToWhoeverOpensItAndHasItKept) {
    Scanner scanner;
    Protection protection(scanner, Settings(FileScanMode::Open));
    ASSERT_TRUE(protection.Begins());
    const std::string threat = m_files->Place("threat.com", TestThreat());
    const std::string clean = m_files->Place("clean.txt", "nothing\n");
    EXPECT_EQ(OpenInChild(threat), EPERM);
    EXPECT_EQ(OpenInChild(clean), 0);
    ASSERT_TRUE(Eventually([&] { return !protection.keeper.Objects().empty(); }));
    EXPECT_EQ(OpenInChild(threat), EPERM); // told once, denied always
    ASSERT_TRUE(Eventually([&] { return protection.host.Counters().scannedObjects == 3; }));
    EXPECT_EQ(protection.host.Counters().backedUpObjects, 1u);
    EXPECT_THAT(protection.host.Told(EventName::ThreatDetected, AdditionalName::FileName), ElementsAre(threat));
    EXPECT_EQ(protection.keeper.Objects().front().path, threat);
    const int file = ::open(threat.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_GE(file, 0) << "our own processes are let through";
    ::close(file);
}

TEST_F(RealtimeTest, ByDefaultAProgramWaitsAndAWrittenFileIsLookedAtBehindItsClosing) {
    Scanner scanner;
    FileMonitoringSettings settings = Settings(FileScanMode::SmartCheck);
    settings.watchedFolders = {*m_files / "watched"};
    std::filesystem::create_directory(*m_files / "watched");
    Protection protection(scanner, settings);
    ASSERT_TRUE(protection.Begins());
    const std::string program = m_files->Place("program", TestThreat());
    EXPECT_EQ(OpenInChild(program), 0);
    EXPECT_EQ(RunInChild(program), CantRun);
    std::filesystem::copy_file("/bin/true", *m_files / "true");
    EXPECT_EQ(RunInChild(*m_files / "true"), 0);
    EXPECT_EQ(OpenInChild(m_files->Place("watched/threat", MarkerThreat())), EPERM);
    const std::string written = m_files->Write("written", TestThreat() + "\n");
    ASSERT_TRUE(Eventually(
        [&] { return protection.host.Tells(EventName::ThreatDetected, AdditionalName::FileName, written); }));
}

TEST_F(RealtimeTest, LeavesAloneWhatIsExcluded) {
    Scanner scanner;
    FileMonitoringSettings settings = Settings(FileScanMode::OpenAndModify);
    settings.excludedPaths = {*m_files / "free"};
    settings.excludeMasks = {"*.iso"};
    Protection protection(scanner, settings);
    ASSERT_TRUE(protection.Begins());
    EXPECT_EQ(OpenInChild(m_files->Place("free/threat", TestThreat())), 0);
    EXPECT_EQ(OpenInChild(m_files->Place("freedom/threat", TestThreat())), EPERM) << "whole components only";
    EXPECT_EQ(OpenInChild(m_files->Place("image.iso", TestThreat())), 0);
}

TEST_F(RealtimeTest, LeavesAloneWhatAnExcludedProgramOpens) {
    Scanner scanner;
    const std::string threat = m_files->Place("threat", TestThreat());
    FileMonitoringSettings settings = Settings(FileScanMode::Open);
    settings.excludedPrograms = {std::filesystem::read_symlink("/proc/self/exe").string()};
    settings.actionOnThreat = types::ThreatAction::Block;
    Protection protection(scanner, settings);
    ASSERT_TRUE(protection.Begins());
    EXPECT_EQ(OpenInChild(threat), 0);
    const std::string command = "cat " + threat + " >/dev/null 2>&1";
    EXPECT_THROW(RunCommand(command), std::runtime_error) << "another program is denied it";
    EXPECT_TRUE(protection.keeper.Objects().empty()) << "blocked and reported, no more";
}

TEST_F(RealtimeTest, ReportsOnlyWhereToldTo) {
    Scanner scanner;
    FileMonitoringSettings settings = Settings(FileScanMode::Open);
    settings.actionOnThreat = types::ThreatAction::Skip;
    Protection protection(scanner, settings);
    ASSERT_TRUE(protection.Begins());
    EXPECT_EQ(OpenInChild(m_files->Place("threat", TestThreat())), 0);
    EXPECT_TRUE(Eventually([&] { return protection.host.Counters().threatsFound == 1; }));
    EXPECT_TRUE(protection.keeper.Objects().empty());
}

/// The kernel is asked no more about a file that is known as clean, until somebody changes it.
TEST_F(RealtimeTest, AsksAgainWhenACleanFileIsModified) {
    Scanner scanner;
    Protection protection(scanner, Settings(FileScanMode::Open));
    const std::string file = m_files->Place("file", "harmless\n");
    struct stat status {};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    ASSERT_TRUE(protection.Begins());
    ASSERT_TRUE(Eventually([&] { return std::time(nullptr) - status.st_ctim.tv_sec > 3; }));
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(OpenInChild(file), 0);
    EXPECT_EQ(OpenInChild(m_files->Place("other", "harmless\n")), 0);
    ASSERT_TRUE(Eventually([&] { return protection.host.Counters().scannedObjects >= 2; }));
    EXPECT_EQ(protection.host.Counters().scannedObjects, 2u);
    m_files->Write("file", TestThreat());
    EXPECT_EQ(OpenInChild(file), EPERM);
}

TEST_F(RealtimeTest, AsksAgainWhenThereAreOtherSignatures) {
    const TemporaryFolder second;
    FillSecondSet(second);
    Scanner scanner;
    FileMonitoringSettings settings = Settings(FileScanMode::Open);
    settings.areas = {m_files->Place("area/file", NewMarker)};
    const std::string file = settings.areas.front();
    settings.areas.front().resize(file.rfind('/')); // marks of a folder are set again too
    Protection protection(scanner, settings);
    struct stat status {};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    ASSERT_TRUE(protection.Begins());
    ASSERT_TRUE(Eventually([&] { return std::time(nullptr) - status.st_ctim.tv_sec > 3; }));
    EXPECT_EQ(OpenInChild(file), 0);
    std::string why;
    ASSERT_EQ(scanner.Service().Replace(second.Path(), {}, why), ulk::sOk) << why;
    EXPECT_TRUE(Eventually([&] { return OpenInChild(file) == EPERM; }));
}

TEST_F(RealtimeTest, WatchesAFolderAndWhatIsMadeInItButNothingBeside) {
    Scanner scanner;
    m_files->Place("area/deep/there", "x");
    FileMonitoringSettings settings = Settings(FileScanMode::Open);
    settings.areas = {*m_files / "area"};
    Protection protection(scanner, settings);
    ASSERT_TRUE(protection.Begins());
    EXPECT_EQ(OpenInChild(m_files->Place("beside", TestThreat())), 0);
    EXPECT_EQ(OpenInChild(m_files->Place("area/deep/threat", TestThreat())), EPERM);
    const std::string late = m_files->Place("area/new/newer/threat", TestThreat());
    EXPECT_TRUE(Eventually([&] { return OpenInChild(late) == EPERM; }));
    std::filesystem::rename(*m_files / "area/deep", *m_files / "gone");
    EXPECT_EQ(OpenInChild(*m_files / "gone/threat"), 0) << "moved out of the area";
}

/// Both at once would have the reader of events wait for itself.
TEST_F(RealtimeTest, AnOverlayAndTheFileSystemBelowItDontHang) {
    m_files->Place("lower/threat", TestThreat());
    m_files->Place("lower/clean", "x");
    for (const char* name : {"upper", "work", "merged"})
        std::filesystem::create_directory(*m_files / name);
    const std::string options =
        "lowerdir=" + *m_files / "lower" + ",upperdir=" + *m_files / "upper" + ",workdir=" + *m_files / "work";
    const std::string merged = *m_files / "merged";
    if (::mount("overlay", merged.c_str(), "overlay", 0, options.c_str()) != 0)
        GTEST_SKIP() << "not run: no overlay can be mounted here";
    Scanner scanner;
    Protection protection(scanner, Settings(FileScanMode::Open));
    EXPECT_TRUE(protection.Begins());
    EXPECT_EQ(OpenInChild(merged + "/clean"), 0);
    EXPECT_EQ(OpenInChild(*m_files / "lower/threat"), EPERM);
    protection.Stop();
    ::umount2(merged.c_str(), MNT_DETACH);
}

TEST_F(RealtimeTest, HoldsNoMoreThreatsThanItCanAndTreatsAllInTheEnd) {
    constexpr std::size_t Threats = 600;
    constexpr std::size_t Room = 400; // threats that wait, files in work, and what the scanner needs
    Scanner scanner;
    FileMonitoringSettings settings = Settings(FileScanMode::SmartCheck);
    settings.actionOnThreat = types::ThreatAction::Recommended;
    Protection protection(scanner, settings);
    ASSERT_TRUE(protection.Begins());
    protection.keeper.shut = true;
    const std::size_t before = OpenDescriptors();
    for (std::size_t i = 0; i < Threats; ++i) {
        m_files->Write("threat" + std::to_string(i), TestThreat());
        EXPECT_LT(OpenDescriptors(), before + Room);
    }
    protection.keeper.shut = false;
    EXPECT_TRUE(Eventually([&] {
        std::set<std::string> paths;
        for (const auto& object : protection.keeper.Objects())
            paths.insert(object.path);
        return paths.size() == Threats;
    }));
}

TEST_F(RealtimeTest, SaysWhyItDoesNotBegin) {
    Scanner scanner;
    FileMonitoringSettings settings = Settings(FileScanMode::Open);
    settings.areas = {*m_files / "no-such-folder"};
    Protection nowhere(scanner, settings);
    ASSERT_TRUE(Eventually([&] { return nowhere.host.ended.load(); }));
    EXPECT_EQ(nowhere.host.Outcome().reason, types::TaskNotStartedReason::InternalSettingsError);
    EXPECT_FALSE(nowhere.host.Outcome().begun);

    settings.areas = {"/proc"};
    Protection kernel(scanner, settings);
    ASSERT_TRUE(Eventually([&] { return kernel.host.ended.load(); }));
    EXPECT_EQ(kernel.host.Outcome().reason, types::TaskNotStartedReason::InternalSettingsError);
}

} // namespace
} // namespace tfs::test
