// SPDX-License-Identifier: GPL-2.0-or-later
// A file system is taken away while it is being scanned.
#include <tests/unit/scanner/scan_files.h>
#include <tests/unit/scanner/scan_harness.h>

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tfs::test {
namespace {

constexpr int NotPermitted = 2;
constexpr std::size_t FilesInFolder = 40;
constexpr std::size_t Folders = 20;

/// Runs the test in a process with mounts of its own; what it makes is gone with it, whatever becomes of it.
void InOwnMounts(const std::function<void()>& test) {
    const pid_t child = ::fork();
    if (child == 0) {
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            ::_exit(NotPermitted);
        test();
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == NotPermitted)
        GTEST_SKIP() << "only root may have mounts of its own";
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "see above, status " << status;
}

/// On the mounted file system every file is a threat, so that what was scanned is told; the one in the first folder
/// takes so long that the run can be paused in it.
void FillMounted(const TemporaryFolder& folder) {
    for (std::size_t i = 0; i < Folders; ++i) {
        const std::string inner = "mounted/d" + std::to_string(10 + i);
        for (std::size_t file = 0; file < FilesInFolder; ++file)
            folder.Write(inner + "/f" + std::to_string(file), MarkerThreat() + std::to_string(i));
    }
    folder.Write("mounted/d10/large", Noise(150u << 20) + MarkerThreat());
}

TEST(ScanOverlay, FilesOfLayersOnOtherFileSystemsAreThoseOfTheFolder) {
    InOwnMounts([] {
        const TemporaryFolder folder;
        for (const char* const name : {"below", "above", "merged"})
            std::filesystem::create_directory(folder / name);
        ASSERT_EQ(::mount("none", (folder / "below").c_str(), "tmpfs", 0, nullptr), 0);
        ASSERT_EQ(::mount("none", (folder / "above").c_str(), "tmpfs", 0, nullptr), 0);
        folder.Write("below/layer/inner/first", TestThreat());
        folder.Write("above/layer/second", TestThreat());
        std::filesystem::create_directory(folder / "above/work");
        const std::string options = "lowerdir=" + folder / "below/layer" + ",upperdir=" + folder / "above/layer" +
                                    ",workdir=" + folder / "above/work";
        if (::mount("overlay", (folder / "merged").c_str(), "overlay", 0, options.c_str()) != 0)
            ::_exit(NotPermitted);
        ASSERT_EQ(::mount((folder / "below/layer/inner/first").c_str(), folder.Write("merged/other", "").c_str(),
                          nullptr, MS_BIND, nullptr),
                  0);
        Scanner scanner;
        RunningScan scan(scanner.Service(), Area(folder / "merged"));
        EXPECT_EQ(scan.Result().counters.threats, 2u) << "and not the file that is mounted there";
    });
}

TEST(ScanUnmount, WhatIsGoneIsNeverCalledCleanAndTheRestIsScanned) {
    InOwnMounts([] {
        const TemporaryFolder folder;
        const std::string before = folder.Write("a/e.com", TestThreat());
        const std::string behind = folder.Write("z/e.com", TestThreat());
        std::filesystem::create_directory(folder / "mounted");
        ASSERT_EQ(::mount("none", (folder / "mounted").c_str(), "tmpfs", 0, nullptr), 0);
        FillMounted(folder);
        ScannerConfig config = TestConfig();
        config.maxWorkers = 1;
        Scanner scanner(config);
        ScanOptions options = Area(folder.Path());
        options.crossFileSystems = true;
        RunningScan scan(scanner.Service(), options);
        ASSERT_TRUE(PauseInAFile(scanner, scan)) << "the files were too small to be paused in";
        ASSERT_EQ(::umount2((folder / "mounted").c_str(), MNT_DETACH), 0);
        EXPECT_FALSE(std::filesystem::exists(folder / "mounted/d10"));
        scan.Run().Resume();
        const ScanResult result = scan.Result();
        EXPECT_EQ(result.end, ScanEnd::Completed);
        EXPECT_FALSE(scan.Observer().ThreatOf(before).empty());
        EXPECT_FALSE(scan.Observer().ThreatOf(behind).empty()) << "the walk ended with the file system";
        // Each file has been scanned, which made it a threat, or was told; none counts as clean.
        EXPECT_EQ(result.counters.scannedObjects, result.counters.threats);
        EXPECT_EQ(scan.Observer().Threats().size(), result.counters.threats);
        EXPECT_EQ(scan.Observer().NotProcessedObjects().size(), result.counters.notProcessed);
        // Nothing holds it any longer: a second run finds the empty folder.
        EXPECT_EQ(RunningScan(scanner.Service(), options).Result().counters.scannedObjects, 2u);
    });
}

TEST(ScanUnmount, AnAreaThatIsGoneIsTold) {
    InOwnMounts([] {
        const TemporaryFolder folder;
        std::filesystem::create_directory(folder / "mounted");
        ASSERT_EQ(::mount("none", (folder / "mounted").c_str(), "tmpfs", 0, nullptr), 0);
        FillMounted(folder);
        Scanner scanner;
        ScanOptions options;
        for (std::size_t i = 0; i < Folders; ++i)
            options.areas.push_back(folder / ("mounted/d" + std::to_string(10 + i)));
        RunningScan scan(scanner.Service(), options);
        ASSERT_TRUE(PauseInAFile(scanner, scan)) << "the files were too small to be paused in";
        ASSERT_EQ(::umount2((folder / "mounted").c_str(), MNT_DETACH), 0);
        scan.Run().Resume();
        const ScanResult result = scan.Result();
        EXPECT_EQ(result.end, ScanEnd::Completed);
        EXPECT_EQ(scan.Observer().ReasonOf(options.areas.back()), "can't be opened");
        EXPECT_EQ(result.counters.scannedObjects, result.counters.threats);
    });
}

} // namespace
} // namespace tfs::test
