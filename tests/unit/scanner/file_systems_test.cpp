// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/file_systems.h>
#include <service/scan/mount_watch.h>
#include <tests/unit/scanner/scan_files.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/vfs.h>

namespace tfs::service::scan {
namespace {

FileSystemKind KindOf(const char* path) {
    const scanner::Descriptor folder(::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status {};
    EXPECT_EQ(::fstat(folder.Get(), &status), 0) << path;
    return FileSystems().KindOf(status.st_dev, folder.Get());
}

TEST(FileSystems, OnlyWhatStampsEveryChangeIsTrusted) {
    EXPECT_EQ(KindOf("/proc"), FileSystemKind::Virtual);
    EXPECT_EQ(KindOf("/sys"), FileSystemKind::Virtual);
    struct statfs status {};
    if (::statfs("/dev/shm", &status) != 0 || status.f_type != 0x01021994)
        GTEST_SKIP() << "there is no file system in memory";
    EXPECT_EQ(KindOf("/dev/shm"), FileSystemKind::Unstamped);
}

TEST(FileSystems, AMappedFileInMemoryChangesWithoutATrace) {
    // Why such a file is never known to be clean.
    const scanner::Descriptor file(::open("/dev/shm", O_RDWR | O_TMPFILE | O_CLOEXEC, 0600));
    struct statfs system {};
    if (!file || ::fstatfs(file.Get(), &system) != 0 || system.f_type != 0x01021994)
        GTEST_SKIP() << "there is no file system in memory";
    ASSERT_EQ(::ftruncate(file.Get(), 4096), 0);
    auto* memory = static_cast<char*>(::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, file.Get(), 0));
    ASSERT_NE(memory, MAP_FAILED);
    memory[0] = 'a';
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(::fstat(file.Get(), &before), 0);
    timespec now{};
    do // until a change would bear another time
        ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
    while (now.tv_sec <= before.st_mtim.tv_sec);
    memory[0] = 'b';
    ASSERT_EQ(::fstat(file.Get(), &after), 0);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_EQ(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec);
    ::munmap(memory, 4096);
}

TEST(MountWatch, NoticesEveryMountAndUnmount) {
    const test::TemporaryFolder folder;
    MountWatch watch;
    watch.Changed();
    if (::mount("none", folder.Path().c_str(), "tmpfs", 0, nullptr) != 0)
        GTEST_SKIP() << "mounting needs CAP_SYS_ADMIN";
    EXPECT_TRUE(watch.Changed());
    ::umount2(folder.Path().c_str(), MNT_DETACH);
    EXPECT_TRUE(watch.Changed());
    EXPECT_NE(MountWatch::RootDevice(), 0u);
}

} // namespace
} // namespace tfs::service::scan
