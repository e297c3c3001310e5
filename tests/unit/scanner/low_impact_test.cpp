// SPDX-License-Identifier: GPL-2.0-or-later
// Scans in the background: who scans them, and how they make way.
#include <service/scan/load_watch.h>
#include <tests/unit/scanner/scan_files.h>
#include <tests/unit/scanner/scan_harness.h>

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace tfs::test {
namespace {

using namespace std::chrono_literals;

constexpr int Nice = 10;

/// Workers of this niceness that are not at rest.
std::vector<pid_t> WorkersOf(Scanner& scanner, int niceness) {
    std::vector<pid_t> found;
    for (const pid_t worker : scanner.Workers())
        if (::getpriority(PRIO_PROCESS, static_cast<id_t>(worker)) == niceness)
            found.push_back(worker);
    return found;
}

/// Those that run as this program does.
std::vector<pid_t> NormalWorkersOf(Scanner& scanner) { return WorkersOf(scanner, ::getpriority(PRIO_PROCESS, 0)); }

ScanOptions LowImpact(const std::string& path) {
    ScanOptions options = Area(path);
    options.lowImpact = true;
    return options;
}

/// Keeps all processors busy for others' sake.
class Burners {
public:
    Burners() {
        for (unsigned i = 0; i < std::thread::hardware_concurrency(); ++i) {
            const pid_t child = ::fork();
            if (child == 0)
                for (std::atomic<unsigned> spin{0};; ++spin) {
                }
            m_children.push_back(child);
        }
    }
    ~Burners() {
        for (const pid_t child : m_children) {
            ::kill(child, SIGKILL);
            ::waitpid(child, nullptr, 0);
        }
    }

private:
    std::vector<pid_t> m_children;
};

TEST(LowImpact, ItsWorkersAreNiceAndEndWithIt) {
    const TemporaryFolder folder;
    folder.Write("large", Noise(80u << 20));
    Scanner scanner;
    const std::size_t normal = scanner.Workers().size();
    EXPECT_EQ(NormalWorkersOf(scanner).size(), normal);
    RunningScan scan(scanner.Service(), LowImpact(folder.Path()));
    std::vector<pid_t> low;
    ASSERT_TRUE(Eventually([&] { return !(low = WorkersOf(scanner, Nice)).empty() || scan.Ended(); }));
    ASSERT_FALSE(low.empty());
    constexpr int OneProcess = 1;
    constexpr long IdleClass = 3;
    EXPECT_EQ(::syscall(SYS_ioprio_get, OneProcess, low.front()) >> 13, IdleClass);
    // Somebody who waits is served by others meanwhile.
    folder.Write("urgent/e.com", TestThreat());
    EXPECT_EQ(RunningScan(scanner.Service(), Area(folder / "urgent")).Result().counters.threats, 1u);
    EXPECT_FALSE(scan.Ended());
    EXPECT_EQ(NormalWorkersOf(scanner).size(), normal);
    EXPECT_EQ(scan.Result().end, ScanEnd::Completed);
    EXPECT_TRUE(Eventually([&] { return scanner.Workers().size() == normal; }));
}

TEST(LowImpact, TakesOneWorkerWhileTheMachineIsBusyAndLosesNothing) {
    if (std::thread::hardware_concurrency() < 2)
        GTEST_SKIP() << "there is but one worker anyway";
    const TemporaryFolder folder;
    for (int i = 0; i < 60; ++i)
        folder.Write("f" + std::to_string(i), MarkerThreat() + Noise(4u << 20, static_cast<std::uint32_t>(i)));
    Scanner scanner;
    auto scan = std::make_unique<RunningScan>(scanner.Service(), LowImpact(folder.Path()));
    const auto nothingLost = [&] {
        const ScanResult result = scan->Result();
        EXPECT_EQ(result.counters.threats, 60u);
        EXPECT_EQ(result.counters.notProcessed, 0u);
    };
    {
        const Burners burners;
        int inARow = 0; // looks; there is but one for a moment while the first of two is being forked
        EXPECT_TRUE(Eventually([&] {
            if (scan->Ended()) {
                nothingLost();
                scan = std::make_unique<RunningScan>(scanner.Service(), LowImpact(folder.Path()));
            }
            inARow = WorkersOf(scanner, Nice).size() == 1 ? inARow + 1 : 0;
            return inARow > 50;
        }));
    }
    nothingLost();
}

TEST(LoadGauge, GoesStepByStepToWhatOthersLeave) {
    LoadGauge gauge(4);
    EXPECT_EQ(gauge.Allowed(), 4u);
    gauge.Take(8, 8);
    EXPECT_EQ(gauge.Allowed(), 3u) << "a burst of a second costs one worker";
    for (int i = 0; i < 10; ++i)
        gauge.Take(8, 8);
    EXPECT_EQ(gauge.Allowed(), 1u) << "it goes on all the same";
    for (int i = 0; i < 10; ++i)
        gauge.Take(8, 5.8);
    EXPECT_EQ(gauge.Allowed(), 2u);
    for (int i = 0; i < 10; ++i)
        gauge.Take(8, 0.5);
    EXPECT_EQ(gauge.Allowed(), 4u);
    gauge.Take(2, 300); // more than there can be, as after a suspend
    EXPECT_EQ(gauge.Allowed(), 3u);
}

} // namespace
} // namespace tfs::test
