// SPDX-License-Identifier: GPL-2.0-or-later
// Workers that a file has taken over say what they like: the service believes none of it and goes on.
#include <tests/unit/scanner/scan_files.h>
#include <tests/unit/scanner/scan_harness.h>

#include <gtest/gtest.h>

namespace tfs::test {
namespace {

using namespace std::chrono_literals;

ScannerConfig Hostile(const char* way) {
    ScannerConfig config = TestConfig();
    config.program = TESL_HOSTILE_SCANNER;
    config.basesFolder = way;
    config.maxWorkers = 1;
    config.fileTimeLimitMs = 200;
    return config;
}

TEST(HostileWorker, WhatItMayNotSayIsNeverTakenForAVerdict) {
    const TemporaryFolder folder;
    const std::string path = folder.Write("file", "content");
    for (const char* way : {"cancels", "answers another", "nameless threat", "unknown verdict", "twice ready",
                            "parent's word", "garbage", "too long"}) {
        Scanner scanner(Hostile(way));
        RunningScan scan(scanner.Service(), Area(folder.Path()));
        const ScanResult result = scan.Result();
        EXPECT_EQ(result.end, ScanEnd::Completed) << way;
        EXPECT_EQ(scan.Observer().ReasonOf(path), "the scanner failed") << way;
        EXPECT_EQ(result.counters.scannedObjects, 0u) << way;
    }
}

TEST(HostileWorker, AFloodOfMessagesHoldsNobodyUp) {
    const TemporaryFolder folder;
    const std::string path = folder.Write("file", "content");
    Scanner scanner(Hostile("flood"));
    {
        RunningScan scan(scanner.Service(), Area(folder.Path()));
        EXPECT_EQ(scan.Result().end, ScanEnd::Completed);
        EXPECT_EQ(scan.Observer().ReasonOf(path), "takes too long");
    }
    ScannerConfig slow = Hostile("flood");
    slow.fileTimeLimitMs = 60000;
    Scanner patient(slow);
    RunningScan scan(patient.Service(), Area(folder.Path()));
    ASSERT_TRUE(Eventually([&] { return patient.Busy(); }));
    const auto begin = std::chrono::steady_clock::now();
    scan.Run().Stop();
    EXPECT_EQ(scan.Result().end, ScanEnd::Stopped);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
}

TEST(HostileWorker, DescriptorsThatItSendsAreClosed) {
    const TemporaryFolder folder;
    for (int i = 0; i < 50; ++i)
        folder.Write("f" + std::to_string(i), "content");
    Scanner scanner(Hostile("gives descriptors"));
    const std::size_t before = OpenDescriptors();
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    EXPECT_EQ(scan.Result().counters.scannedObjects, 50u);
    EXPECT_TRUE(Eventually([&] { return OpenDescriptors() <= before; }));
}

TEST(HostileWorker, OneThatWontGoIsKilledWhenItHadItsShare) {
    const TemporaryFolder folder;
    for (int i = 0; i < 5; ++i)
        folder.Write("f" + std::to_string(i), "content");
    ScannerConfig config = Hostile("stays");
    config.filesPerWorker = 1;
    Scanner scanner(config);
    const std::vector<pid_t> first = scanner.Workers();
    ASSERT_FALSE(first.empty());
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    EXPECT_EQ(scan.Result().counters.scannedObjects, 5u);
    EXPECT_TRUE(Eventually([&] { return ProcessState(first[0]) == '\0'; }));
}

TEST(HostileWorker, OneThatSpeaksUnaskedIsReplaced) {
    const TemporaryFolder folder;
    folder.Write("file", "content");
    Scanner scanner(Hostile("chatters"));
    const std::vector<pid_t> first = scanner.Workers();
    ASSERT_FALSE(first.empty());
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    EXPECT_EQ(scan.Result().counters.scannedObjects, 1u);
    EXPECT_TRUE(Eventually([&] { return ProcessState(first[0]) == '\0'; }));
    EXPECT_TRUE(scanner.WaitUntilIdle());
}

TEST(HostileWorker, AScannerThatIsNoneIsRefused) {
    for (const char* way : {"old version", "no workers", "no descriptors"}) {
        ScannerService service(Hostile(way), {});
        EXPECT_TRUE(ULK_FAILED(service.Start())) << way;
        EXPECT_FALSE(service.State().loaded) << way;
        EXPECT_FALSE(service.State().error.empty()) << way;
    }
}

} // namespace
} // namespace tfs::test
