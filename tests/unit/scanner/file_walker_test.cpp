// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/file_walker.h>
#include <tests/unit/scanner/scan_files.h>

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/sysmacros.h>
#include <sys/un.h>

namespace tfs::service::scan {
namespace {

using test::TemporaryFolder;

class Collector final : public IWalkVisitor {
public:
    void OnFile(const FoundFile& file) override {
        ++files[file.path];
        struct stat status {};
        EXPECT_EQ(::fstatat(file.folder, file.name, &status, AT_SYMLINK_NOFOLLOW), 0);
        EXPECT_EQ(status.st_ino, file.status.st_ino);
    }
    void OnSkipped(const std::string& path) override { skipped.insert(path); }
    void OnUnreadable(const std::string& path, int, const std::string& reason) override { unreadable[path] = reason; }
    bool GoOn() override { return limit == 0 || files.size() < limit; }

    std::map<std::string, int> files;
    std::set<std::string> skipped;
    std::map<std::string, std::string> unreadable;
    std::size_t limit = 0;
};

Collector Walk(const std::vector<std::string>& areas, const std::vector<std::string>& excluded = {},
               const std::vector<std::string>& masks = {}) {
    Collector collector;
    FileWalker(Exclusions(excluded, masks), false, collector).Walk(areas);
    return collector;
}

TEST(FileWalker, FollowsNoLinkAndSkipsWhatIsNoFile) {
    const TemporaryFolder folder;
    folder.Write("a/file", "x");
    std::filesystem::create_directory_symlink("..", folder / "a/loop");
    std::filesystem::create_symlink("/etc/passwd", folder / "a/link");
    std::filesystem::create_symlink(folder / "self", folder / "self");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (folder / "socket").copy(address.sun_path, sizeof address.sun_path - 1);
    const scanner::Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(::bind(socket.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    std::size_t special = 5;
    if (::mknod((folder / "device").c_str(), S_IFCHR | 0600, makedev(1, 5)) == 0)
        ++special; // root only
    const Collector found = Walk({folder.Path()});
    EXPECT_EQ(found.files, (std::map<std::string, int>{{folder / "a/file", 1}}));
    EXPECT_EQ(found.skipped.size(), special);
    EXPECT_TRUE(found.unreadable.empty());
}

TEST(FileWalker, TakesNamesOfAnyBytes) {
    const TemporaryFolder folder;
    const std::string names[] = {
        "line\nbreak",         "\x1b[2J\x1b[31mred", "\xff\xfe broken \xc3", "$(reboot)", "-rf", " ", "...",
        std::string(255, 'n'), "tab\t'\"\\"};
    for (const std::string& name : names)
        folder.Write(name, "x");
    const Collector found = Walk({folder.Path()});
    EXPECT_EQ(found.files.size(), std::size(names));
    for (const std::string& name : names)
        EXPECT_TRUE(found.files.contains(folder / name));
}

TEST(FileWalker, GoesDeeperThanAPathMayBeLongAndThanItMayOpenFiles) {
    const TemporaryFolder folder;
    constexpr int Depth = 1500;
    scanner::Descriptor at(::open(folder.Path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const std::string name(20, 'd');
    for (int i = 0; i < Depth; ++i) {
        // Something to come back for on every level.
        ASSERT_EQ(::mkdirat(at.Get(), "side", 0700), 0);
        const scanner::Descriptor side(::openat(at.Get(), "side", O_PATH | O_DIRECTORY | O_CLOEXEC));
        scanner::Descriptor(::openat(side.Get(), "f", O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        ASSERT_EQ(::mkdirat(at.Get(), name.c_str(), 0700), 0);
        at.Reset(::openat(at.Get(), name.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    }
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few{80, before.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &few);
    Collector found = Walk({folder.Path()});
    ::setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(found.files.size(), static_cast<std::size_t>(Depth));
    EXPECT_TRUE(found.unreadable.empty()) << found.unreadable.begin()->second;
    // A file named by its whole path, longer than one system call takes.
    const std::string longest = found.files.rbegin()->first;
    std::string deepest;
    for (const auto& [path, count] : found.files)
        if (path.size() > deepest.size())
            deepest = path;
    ASSERT_GT(deepest.size(), 30000u);
    EXPECT_EQ(Walk({deepest}).files.size(), 1u);
    test::RunCommand("rm -rf '" + folder.Path() + "'"); // std::filesystem::remove_all recurses
}

TEST(FileWalker, LeavesExcludedTreesAlone) {
    const TemporaryFolder folder;
    folder.Write("a/keep", "x");
    folder.Write("a/b/drop", "x");
    folder.Write("ab/keep", "x");
    folder.Write("single", "x");
    const std::string root = folder.Path();
    EXPECT_EQ(Walk({root}, {root + "/a/b/", root + "//single"}).files,
              (std::map<std::string, int>{{root + "/a/keep", 1}, {root + "/ab/keep", 1}}));
    EXPECT_TRUE(Walk({root + "/a/b/drop"}, {root + "/a"}).files.empty());
    EXPECT_TRUE(Walk({root}, {"/"}).files.empty());
    EXPECT_TRUE(Walk({root}, {root}).files.empty());
}

TEST(FileWalker, ScansOverlappingAreasOnce) {
    const TemporaryFolder folder;
    folder.Write("a/file", "x");
    const Collector found = Walk({folder.Path(), folder / "a", folder.Path() + "//a/"});
    EXPECT_EQ(found.files, (std::map<std::string, int>{{folder / "a/file", 1}}));
}

TEST(FileWalker, SaysWhatAnAreaIsThatItCantWalk) {
    const TemporaryFolder folder;
    const std::string missing = folder / "missing";
    Collector found = Walk({missing, "relative", "", "/proc", "/proc/self/status", "/sys"});
    EXPECT_TRUE(found.files.empty());
    for (const std::string& area : {missing, std::string("relative"), std::string(), std::string("/proc"),
                                    std::string("/proc/self/status"), std::string("/sys")})
        EXPECT_TRUE(found.unreadable.contains(area)) << area;
}

TEST(FileWalker, ReportsAFolderThatItMayNotRead) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "root may read all";
    const TemporaryFolder folder;
    folder.Write("closed/file", "x");
    folder.Write("open/file", "x");
    std::filesystem::permissions(folder / "closed", std::filesystem::perms::none);
    const Collector found = Walk({folder.Path()});
    std::filesystem::permissions(folder / "closed", std::filesystem::perms::owner_all);
    EXPECT_TRUE(found.unreadable.contains(folder / "closed"));
    EXPECT_EQ(found.files.size(), 1u);
}

TEST(FileWalker, ComesThroughBindMountLoopsOnce) {
    const TemporaryFolder folder;
    folder.Write("a/file", "x");
    std::filesystem::create_directory(folder / "a/again");
    if (::mount(folder.Path().c_str(), (folder / "a/again").c_str(), nullptr, MS_BIND, nullptr) != 0)
        GTEST_SKIP() << "mounting needs CAP_SYS_ADMIN";
    Collector found;
    FileWalker(Exclusions(), true, found).Walk({folder.Path()});
    ::umount2((folder / "a/again").c_str(), MNT_DETACH);
    EXPECT_EQ(found.files.size(), 1u);
    EXPECT_EQ(found.files.begin()->second, 1);
}

TEST(FileWalker, CrossesIntoAnotherFileSystemOnlyWhenTold) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "mounted");
    if (::mount("none", (folder / "mounted").c_str(), "tmpfs", 0, nullptr) != 0)
        GTEST_SKIP() << "mounting needs CAP_SYS_ADMIN";
    folder.Write("mounted/file", "x");
    Collector crossing;
    FileWalker(Exclusions(), true, crossing).Walk({folder.Path()});
    const Collector staying = Walk({folder.Path()});
    ::umount2((folder / "mounted").c_str(), MNT_DETACH);
    EXPECT_EQ(crossing.files.size(), 1u);
    EXPECT_TRUE(staying.files.empty());
}

TEST(FileWalker, StopsWhenTold) {
    const TemporaryFolder folder;
    for (int i = 0; i < 50; ++i)
        folder.Write("d" + std::to_string(i) + "/file", "x");
    Collector collector;
    collector.limit = 5;
    FileWalker(Exclusions(), false, collector).Walk({folder.Path()});
    EXPECT_EQ(collector.files.size(), 5u);
}

} // namespace
} // namespace tfs::service::scan
