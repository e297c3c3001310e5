// SPDX-License-Identifier: GPL-2.0-or-later
// A run that is interrupted at any point and another one that goes on at its checkpoint scan the whole tree.
#include <service/scan/path_order.h>
#include <tests/unit/scanner/scan_files.h>
#include <tests/unit/scanner/scan_harness.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <set>

namespace tfs::test {
namespace {

/// Every file of the tree is a threat, so that what was scanned is told.
std::set<std::string> FillTree(const TemporaryFolder& folder, std::mt19937& random) {
    std::set<std::string> paths;
    std::string linked;
    for (int i = 0; i < 250; ++i) {
        std::string name;
        for (std::size_t depth = random() % 3; depth > 0; --depth)
            name += "d" + std::to_string(random() % 6) + "/";
        name += "f" + std::to_string(i);
        if (i % 10 == 9) { // other names of a file, before or behind it
            std::filesystem::create_directories(std::filesystem::path(folder / name).parent_path());
            std::filesystem::create_hard_link(linked, folder / name);
            paths.insert(folder / name);
            continue;
        }
        // One large file in between, so that many are settled before it.
        const std::string content = MarkerThreat() + std::to_string(i);
        linked = folder.Write(name, i == 100 ? content + Noise(3u << 20) : content);
        paths.insert(linked);
    }
    return paths;
}

class CheckpointObserver final : public IScanObserver {
public:
    void OnThreat(const ThreatFound& threat) override {
        threats.push_back(threat.path);
        if (stopAfter != 0 && threats.size() == stopAfter)
            stop();
    }
    void OnNotProcessed(const NotProcessed& object) override { lost.push_back(object.path); }
    void OnProgress(const ScanProgress& progress) override { percent = progress.percent; }
    void OnCheckpoint(const std::string& path, const ScanProgress& counters) override {
        EXPECT_TRUE(checkpoint.empty() || ComparePaths(checkpoint, path) < 0);
        checkpoint = path;
        scannedAtCheckpoint = counters.scannedObjects;
    }
    std::vector<std::string> threats;
    std::string checkpoint;
    std::uint64_t scannedAtCheckpoint = 0;
    std::uint32_t percent = 0;
    std::vector<std::string> lost;
    std::size_t stopAfter = 0;
    std::function<void()> stop;
};

TEST(ScanResume, InterruptedRunsAddUpToTheTree) {
    Scanner scanner;
    for (unsigned seed = 0; seed < 12; ++seed) {
        std::mt19937 random(seed);
        const TemporaryFolder folder;
        const std::set<std::string> tree = FillTree(folder, random);
        std::set<std::string> settled;
        std::string checkpoint;
        for (int runs = 0;; ++runs) {
            ASSERT_LT(runs, 100);
            ScanOptions options = Area(folder.Path());
            options.goOnBehind = checkpoint;
            CheckpointObserver observer;
            observer.stopAfter = 1 + random() % 120;
            const auto run = MakeScanRun(scanner.Service(), options, observer);
            observer.stop = [&] { run->Stop(); };
            const ScanResult result = run->Run();
            EXPECT_TRUE(observer.lost.empty());
            if (!observer.checkpoint.empty())
                checkpoint = observer.checkpoint;
            // The next run counts on from the checkpoint, not from what was settled ahead of it.
            const auto upToCheckpoint = std::count_if(tree.begin(), tree.end(), [&](const std::string& path) {
                return (options.goOnBehind.empty() || ComparePaths(path, options.goOnBehind) > 0) &&
                       ComparePaths(path, observer.checkpoint) <= 0;
            });
            EXPECT_EQ(observer.scannedAtCheckpoint, static_cast<std::uint64_t>(upToCheckpoint));
            // What was told of files behind the checkpoint is told again.
            for (const std::string& path : observer.threats) {
                EXPECT_TRUE(options.goOnBehind.empty() || ComparePaths(path, options.goOnBehind) > 0) << path;
                if (result.end == ScanEnd::Completed || (!checkpoint.empty() && ComparePaths(path, checkpoint) <= 0)) {
                    EXPECT_TRUE(settled.insert(path).second) << path;
                }
            }
            if (result.end == ScanEnd::Completed) {
                EXPECT_EQ(observer.percent, 100u);
                break;
            }
            EXPECT_EQ(result.end, ScanEnd::Stopped);
        }
        EXPECT_EQ(settled, tree) << "seed " << seed;
        EXPECT_EQ(checkpoint, *std::max_element(tree.begin(), tree.end(),
                                                [](const auto& a, const auto& b) { return ComparePaths(a, b) < 0; }));
    }
}

TEST(ScanResume, TheScannersEndLeavesWhatItHadInHandToTheNextRun) {
    std::mt19937 random(5);
    const TemporaryFolder folder;
    const std::set<std::string> tree = FillTree(folder, random);
    folder.Write("~", Noise(96u << 20)); // comes last and takes long: the end comes before the run's own
    CheckpointObserver first;
    ASSERT_TRUE(Eventually([&] { // on a busy machine the very first file may be the last to be done
        Scanner scanner;
        first = CheckpointObserver();
        first.stopAfter = 60;
        first.stop = [&] { scanner.Service().Stop(); };
        EXPECT_NE(MakeScanRun(scanner.Service(), Area(folder.Path()), first)->Run().end, ScanEnd::Completed);
        return !first.checkpoint.empty();
    }));
    for (const std::string& path : first.lost)
        EXPECT_GT(ComparePaths(path, first.checkpoint), 0) << path;
    std::set<std::string> settled;
    for (const std::string& path : first.threats)
        if (ComparePaths(path, first.checkpoint) <= 0)
            settled.insert(path);
    Scanner scanner;
    ScanOptions options = Area(folder.Path());
    options.goOnBehind = first.checkpoint;
    CheckpointObserver second;
    EXPECT_EQ(MakeScanRun(scanner.Service(), options, second)->Run().end, ScanEnd::Completed);
    for (const std::string& path : second.threats)
        EXPECT_TRUE(settled.insert(path).second) << path;
    EXPECT_EQ(settled, tree);
}

} // namespace
} // namespace tfs::test
