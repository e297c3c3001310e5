// SPDX-License-Identifier: GPL-2.0-or-later
// Start with good and hostile signature folders, and the sandbox seen from inside.
#include <tests/unit/scanner/scan_files.h>
#include <tests/unit/scanner/scan_harness.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

namespace tfs::test {
namespace {

/// A field of /proc/PID/status.
std::string StatusField(pid_t process, const std::string& name) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":")) {
            const std::size_t value = line.find_first_not_of(" \t", name.size() + 1);
            return value == std::string::npos ? std::string() : line.substr(value);
        }
    return {};
}

TEST(ScannerStart, SaysWhatIsLoaded) {
    Scanner scanner;
    const ScannerState state = scanner.Service().State();
    EXPECT_TRUE(state.loaded);
    EXPECT_EQ(state.signatures, 5u);
    EXPECT_GT(state.basesDate, 1600000000);
    EXPECT_FALSE(state.engineVersion.empty());
    EXPECT_TRUE(state.error.empty());
}

TEST(ScannerStart, HostileSignatureFoldersAreRefusedWithAReason) {
    struct Row {
        const char* name;
        void (*fill)(const TemporaryFolder&);
    };
    const Row rows[] = {
        {"empty", [](const TemporaryFolder&) {}},
        {"no signatures", [](const TemporaryFolder& f) { f.Write("readme.txt", "hello"); }},
        {"broken pattern", [](const TemporaryFolder& f) { f.Write("a.ndb", "Name:0:*:zzzz\n"); }},
        {"broken hash", [](const TemporaryFolder& f) { f.Write("a.hdb", "not a hash\n"); }},
        {"garbage", [](const TemporaryFolder& f) { f.Write("a.ndb", std::string(100000, '\xff')); }},
        {"broken official set", [](const TemporaryFolder& f) { f.Write("main.cvd", std::string(2000, 'x')); }},
        {"one bad among good",
         [](const TemporaryFolder& f) {
             std::filesystem::copy(TESL_TEST_BASES "/tolvander.hdb", f / "a.hdb");
             f.Write("b.ndb", "Name:0:*:zzzz\n");
         }},
        {"empty file", [](const TemporaryFolder& f) { f.Write("a.ndb", ""); }},
    };
    for (const Row& row : rows) {
        const TemporaryFolder folder;
        row.fill(folder);
        ScannerConfig config = TestConfig();
        config.basesFolder = folder.Path();
        ScannerService service(config, {});
        EXPECT_TRUE(ULK_FAILED(service.Start())) << row.name;
        const ScannerState state = service.State();
        EXPECT_FALSE(state.loaded) << row.name;
        EXPECT_FALSE(state.error.empty()) << row.name;
        RunningScan scan(service, Area(folder.Path()));
        const ScanResult result = scan.Result();
        EXPECT_EQ(result.end, ScanEnd::Failed);
        EXPECT_FALSE(result.error.empty());
        EXPECT_TRUE(service.Inner()->WorkerProcesses().empty());
    }
}

TEST(ScannerStart, ARepairedFolderLoadsAtTheNextStart) {
    const TemporaryFolder folder;
    ScannerConfig config = TestConfig();
    config.basesFolder = folder.Path();
    ScannerService service(config, {});
    ASSERT_TRUE(ULK_FAILED(service.Start()));
    std::filesystem::copy(TESL_TEST_BASES "/tolvander.hdb", folder / "a.hdb");
    ASSERT_TRUE(ULK_SUCCEEDED(service.Start()));
    EXPECT_EQ(service.State().signatures, 2u);
    service.Stop();
    EXPECT_TRUE(ULK_SUCCEEDED(service.Start())) << "start after stop";
}

TEST(ScannerStart, AStopThatMeetsAStartIsNotForgotten) {
    ScannerConfig config = TestConfig();
    config.program = "/nonexistent/tesl-scanner"; // starts and stops quickly, and so meet in every way
    for (int i = 0; i < 5000; ++i) {
        ScannerService service(config, {});
        std::atomic<int> waiting{2};
        const auto together = [&] {
            --waiting;
            while (waiting != 0) {
            }
        };
        std::thread starter([&] {
            together();
            service.Start();
        });
        together();
        service.Stop(); // forever, where the start took the stop's word back
        starter.join();
    }
}

TEST(ScannerStart, AMissingOrForeignProgramIsSaid) {
    for (const char* program : {"/nonexistent/tesl-scanner", "/bin/true"}) {
        ScannerConfig config = TestConfig();
        config.program = program;
        ScannerService service(config, {});
        EXPECT_TRUE(ULK_FAILED(service.Start())) << program;
        EXPECT_FALSE(service.State().error.empty());
    }
}

TEST(ScannerSandbox, HoldsFromInside) {
    FILE* output = ::popen(
        TESL_TEST_SCANNER " --self-test --bases " TESL_TEST_BASES " --temporary /dev/shm/tesl-self-test-$$ 2>&1", "r");
    ASSERT_NE(output, nullptr);
    std::string text;
    char line[512];
    while (std::fgets(line, sizeof line, output) != nullptr)
        text += line;
    EXPECT_EQ(::pclose(output), 0) << text;
    EXPECT_EQ(text.find("broken"), std::string::npos) << text;
    for (const char* held : {"own folder: held", "open /etc/passwd: held", "socket: held", "execve: held"})
        EXPECT_NE(text.find(held), std::string::npos) << text;
}

TEST(ScannerSandbox, WorkersRunWithoutRightsAndDescriptors) {
    Scanner scanner;
    ASSERT_TRUE(Eventually([&] { return !scanner.Workers().empty(); }));
    const std::size_t descriptors = 4; // the standard streams and the channel
    std::vector<pid_t> processes = scanner.Workers();
    for (const pid_t worker : processes) {
        EXPECT_EQ(StatusField(worker, "Seccomp"), "2");
        EXPECT_EQ(StatusField(worker, "NoNewPrivs"), "1");
        for (const char* set : {"CapInh", "CapPrm", "CapEff", "CapAmb"})
            EXPECT_EQ(StatusField(worker, set), "0000000000000000") << set;
        if (::geteuid() != 0)
            continue;
        EXPECT_NE(StatusField(worker, "Uid").substr(0, 2), "0\t");
        EXPECT_EQ(StatusField(worker, "Groups"), "");
        EXPECT_EQ(StatusField(worker, "CapBnd"), "0000000000000000");
        std::size_t count = 0;
        for ([[maybe_unused]] const auto& entry :
             std::filesystem::directory_iterator("/proc/" + std::to_string(worker) + "/fd"))
            ++count;
        EXPECT_EQ(count, descriptors);
        EXPECT_NE(StatusField(scanner.Parent(), "Uid").substr(0, 2), "0\t");
    }
}

} // namespace
} // namespace tfs::test
