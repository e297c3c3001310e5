// SPDX-License-Identifier: GPL-2.0-or-later
// The walk's order, and going on behind any point of it.
#include <service/scan/checkpoint_trail.h>
#include <service/scan/file_walker.h>
#include <service/scan/path_order.h>
#include <tests/unit/scanner/scan_files.h>

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <sys/mount.h>

namespace tfs::service::scan {
namespace {

using test::TemporaryFolder;

class Order final : public IWalkVisitor {
public:
    void OnFile(const FoundFile& file) override { files.push_back(file.path); }
    void OnSkipped(const std::string& path) override { files.push_back(path); }
    void OnUnreadable(const std::string& path, int, const std::string&) override { unreadable.push_back(path); }
    bool GoOn() override { return true; }
    std::vector<std::string> files;
    std::vector<std::string> unreadable;
};

std::vector<std::string> Walk(const std::vector<std::string>& areas, const std::string& behind = {}) {
    Order order;
    FileWalker(Exclusions(), false, order).Walk(areas, behind);
    EXPECT_TRUE(order.unreadable.empty());
    return order.files;
}

/// Names that sort differently by bytes, by letters, and with a slash among them.
std::string RandomName(std::mt19937& random) {
    static const char* const Parts[] = {"a", "b", "A", "a-", "a.", "a b", "\xff", "\x01", "z", "0", "\n", "\xc3\xa4"};
    std::string name;
    for (unsigned i = 0; i < 1 + random() % 2; ++i)
        name += Parts[random() % std::size(Parts)];
    return name;
}

void FillTree(const TemporaryFolder& folder, std::mt19937& random) {
    for (int i = 0; i < 60; ++i) {
        std::string path;
        for (unsigned depth = random() % 4; depth > 0; --depth)
            path += RandomName(random) + "/";
        std::error_code error; // where a file has the name of a folder
        std::filesystem::create_directories(folder / path, error);
        if (!error && !std::filesystem::is_directory(folder / (path + "f")))
            folder.Write(path + "f" + RandomName(random), "x");
    }
}

TEST(WalkOrder, GoesOnBehindEveryPathOfRandomTrees) {
    for (unsigned seed = 0; seed < 8; ++seed) {
        std::mt19937 random(seed);
        const TemporaryFolder folder;
        FillTree(folder, random);
        const std::vector<std::string> all = Walk({folder.Path()});
        ASSERT_FALSE(all.empty());
        EXPECT_TRUE(std::is_sorted(all.begin(), all.end(),
                                   [](const auto& a, const auto& b) { return ComparePaths(a, b) < 0; }));
        for (std::size_t i = 0; i < all.size(); ++i) {
            const std::vector<std::string> rest(all.begin() + static_cast<std::ptrdiff_t>(i) + 1, all.end());
            ASSERT_EQ(Walk({folder.Path()}, all[i]), rest) << "seed " << seed << " behind " << all[i];
        }
        // The mark itself may be gone by then.
        std::filesystem::remove(all[all.size() / 2]);
        const std::vector<std::string> rest(all.begin() + static_cast<std::ptrdiff_t>(all.size() / 2) + 1, all.end());
        EXPECT_EQ(Walk({folder.Path()}, all[all.size() / 2]), rest);
    }
}

TEST(WalkOrder, AreasAreWalkedInOneOrderWhateverTheirOwn) {
    const TemporaryFolder folder;
    for (const char* name : {"a/1", "a/b/2", "a/b/c/3", "a-/4", "b/5"})
        folder.Write(name, "x");
    const std::string root = folder.Path();
    const std::vector<std::string> areas = {root + "/b/", root + "/a/b/c/3", root, root + "/a-", root + "/a/b"};
    const std::vector<std::string> all = Walk(areas);
    EXPECT_EQ(all, (std::vector<std::string>{root + "/a/1", root + "/a/b/2", root + "/a/b/c/3", root + "/a-/4",
                                             root + "/b/5"}));
    for (std::size_t i = 0; i < all.size(); ++i)
        EXPECT_EQ(Walk(areas, all[i]).size(), all.size() - i - 1);
}

TEST(WalkOrder, AnAreaOnAnotherFileSystemInsideAnAreaComesAtItsTurn) {
    const TemporaryFolder folder;
    folder.Write("a/1", "x");
    folder.Write("z/9", "x");
    std::filesystem::create_directory(folder / "m");
    if (::mount("none", (folder / "m").c_str(), "tmpfs", 0, nullptr) != 0)
        GTEST_SKIP() << "mounting needs CAP_SYS_ADMIN";
    folder.Write("m/in/5", "x");
    folder.Write("m/out/6", "x");
    const std::vector<std::string> found = Walk({folder.Path(), folder / "m/in"});
    const std::vector<std::string> behind = Walk({folder.Path(), folder / "m/in"}, folder / "m/in/5");
    ::umount2((folder / "m").c_str(), MNT_DETACH);
    EXPECT_EQ(found, (std::vector<std::string>{folder / "a/1", folder / "m/in/5", folder / "z/9"}));
    EXPECT_EQ(behind, (std::vector<std::string>{folder / "z/9"}));
}

TEST(WalkOrder, AFolderOfManyNamesIsReadInBatches) {
    const TemporaryFolder folder;
    std::mt19937 random(3);
    std::vector<std::string> names;
    for (int i = 0; i < 1000; ++i)
        names.push_back("n" + std::to_string(random()));
    for (const std::string& name : names)
        folder.Write(name, "");
    std::sort(names.begin(), names.end());
    const scanner::Descriptor open(::open(folder.Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::vector<char> buffer(4096);
    for (const std::size_t batch : {1u, 7u, 500u, 999u, 1000u, 1001u}) {
        SortedNames sorted(batch);
        std::vector<std::string> got;
        while (!sorted.IsAtEnd()) {
            if (sorted.Peek() == nullptr) {
                ASSERT_EQ(sorted.Read(open.Get(), buffer), 0);
                EXPECT_LE(sorted.Memory(), 64 * batch + 64);
                continue;
            }
            got.emplace_back(sorted.Peek());
            sorted.Pop();
            if (got.size() % 300 == 0)
                sorted.Drop();
        }
        EXPECT_EQ(got, names) << batch;
    }
}

TEST(CheckpointTrail, IsNeverAheadOfAFileInWorkAndCountsNothingAheadOfIt) {
    std::mt19937 random(11);
    ScanProgress one;
    one.scannedObjects = 1;
    CheckpointTrail trail;
    std::vector<std::uint64_t> inWork;
    std::uint64_t next = 1;
    const auto path = [](std::uint64_t number) { return "/" + std::to_string(100000 + number); };
    while (next < 3000) {
        if (inWork.size() < 8 && random() % 3 != 0) {
            if (random() % 2 != 0) {
                trail.Pass(path(next), one);
            } else {
                trail.Begin(next, path(next));
                inWork.push_back(next);
            }
            ++next;
        } else if (!inWork.empty()) {
            const auto at = inWork.begin() + static_cast<std::ptrdiff_t>(random() % inWork.size());
            trail.Settle(*at, one);
            inWork.erase(at);
        }
        const std::uint64_t first = inWork.empty() ? next : *std::min_element(inWork.begin(), inWork.end());
        EXPECT_EQ(trail.Reached(), first == 1 ? std::string() : path(first - 1));
        EXPECT_EQ(trail.Counts().scannedObjects, first - 1);
    }
    for (const std::uint64_t token : inWork)
        trail.Settle(token, one);
    trail.Pass(path(1), one); // told late of a folder that the walk had begun long ago
    EXPECT_EQ(trail.Reached(), path(next - 1));
    EXPECT_EQ(trail.Counts().scannedObjects, next);
}

} // namespace
} // namespace tfs::service::scan
