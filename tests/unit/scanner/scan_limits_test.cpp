// SPDX-License-Identifier: GPL-2.0-or-later
// Whatever was not wholly read is never clean.
#include <tests/unit/scanner/scan_files.h>
#include <tests/unit/scanner/scan_harness.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tfs::test {
namespace {

/// Scans one descriptor through the dispatcher itself.
class OneFile final : public IScanClient {
public:
    void OnVerdict(std::uint64_t, FileVerdict verdict) override {
        const std::lock_guard lock(m_lock);
        m_verdict = std::move(verdict);
        m_done = true;
    }
    void OnBytes(std::uint64_t, std::uint64_t) override { m_begun = true; }
    bool Begun() const { return m_begun; }
    bool Done() {
        const std::lock_guard lock(m_lock);
        return m_done;
    }
    FileVerdict Verdict() {
        const std::lock_guard lock(m_lock);
        return m_verdict;
    }

private:
    std::mutex m_lock;
    std::atomic<bool> m_begun{false};
    bool m_done = false;
    FileVerdict m_verdict;
};

/// `meanwhile` is called once a part of the file has been read.
VerdictCode CodeOf(Scanner& scanner, scanner::Descriptor file, const std::function<void()>& meanwhile = {}) {
    auto client = std::make_shared<OneFile>();
    const auto state = scanner.Service().Inner()->Attach(client);
    EXPECT_TRUE(scanner.Service().Inner()->Submit(state, FileJob{1, 0, std::move(file)}));
    if (meanwhile) {
        EXPECT_TRUE(Eventually([&] { return client->Begun() || client->Done(); }));
        EXPECT_FALSE(client->Done()) << "the file was too small to be changed in time";
        meanwhile();
    }
    EXPECT_TRUE(Eventually([&] { return client->Done(); }));
    scanner.Service().Inner()->Detach(state);
    return client->Verdict().code;
}

scanner::Descriptor Opened(const std::string& path, int flags = O_RDONLY) {
    return scanner::Descriptor(::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK));
}

TEST(ScanLimits, DescriptorsThatAreNoDiskFilesAreNeverClean) {
    Scanner scanner;
    const TemporaryFolder folder;
    const std::string file = folder.Write("file", "content");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(CodeOf(scanner, Opened(file)), VerdictCode::Clean);
    EXPECT_EQ(CodeOf(scanner, Opened(folder.Path())), VerdictCode::ReadError);
    EXPECT_EQ(CodeOf(scanner, Opened(folder / "pipe")), VerdictCode::ReadError);
    EXPECT_EQ(CodeOf(scanner, Opened("/dev/zero")), VerdictCode::ReadError);
    EXPECT_EQ(CodeOf(scanner, Opened("/proc/self/status")), VerdictCode::Changed);
    EXPECT_EQ(CodeOf(scanner, Opened(file, O_WRONLY)), VerdictCode::ReadError);
    EXPECT_EQ(CodeOf(scanner, Opened("/proc/self/mem")), VerdictCode::ReadError);
    EXPECT_EQ(CodeOf(scanner, scanner::Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))),
              VerdictCode::ReadError);
}

TEST(ScanLimits, AnythingOverALimitIsNotProcessedUnlessAThreatIsFoundFirst) {
    ScannerConfig config = TestConfig();
    config.maxFileSize = 1 << 20;
    config.maxScanSize = 3 << 20;
    config.maxFiles = 100;
    Scanner scanner(config);
    const TemporaryFolder folder;
    std::vector<std::pair<std::string, std::string>> many;
    for (int i = 0; i < 300; ++i)
        many.emplace_back("m" + std::to_string(i), "content " + std::to_string(i));
    std::string deep = "content";
    for (int i = 0; i < 42; ++i)
        deep = Zip({{"level.zip", deep}});
    const std::string large = folder.Write("large", Noise((1 << 20) + 1));
    const std::string fits = folder.Write("fits", Noise(1 << 20));
    const std::string parts = folder.Write("many.zip", Zip(many));
    const std::string levels = folder.Write("deep.zip", deep);
    // A small file that unpacks to what is too large: first as one part, then as many that are too large together.
    folder.Write("zeros", std::string(2 << 20, '\0'));
    for (int i = 0; i < 8; ++i)
        folder.Write("sum/part" + std::to_string(i),
                     Noise(1000 << 10, static_cast<std::uint32_t>(i)).substr(0, 500) + std::string(900 << 10, 'z'));
    RunCommand("cd '" + folder.Path() +
               "' && zip -q bomb.zip zeros && tar -czf bomb.tar.gz zeros && gzip -k zeros && " +
               "bzip2 -k zeros && xz -k zeros && rm zeros && zip -qr sum.zip sum && rm -r sum");
    // The same zip, lying about the size of its member in both places that tell it.
    std::string liar = Contents(folder / "bomb.zip");
    for (std::size_t at = 0; (at = liar.find(std::string("\0\0\x20\0", 4), at)) != std::string::npos; at += 4)
        liar.replace(at, 4, std::string("\x10\0\0\0", 4));
    folder.Write("liar.zip", liar);
    many.insert(many.begin(), {"e.com", TestThreat()});
    const std::string caught = folder.Write("caught.zip", Zip(many));
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    const ScanResult result = scan.Result();
    for (const std::string& path :
         {large, parts, levels, folder / "bomb.zip", folder / "bomb.tar.gz", folder / "zeros.gz", folder / "zeros.bz2",
          folder / "zeros.xz", folder / "liar.zip", folder / "sum.zip"})
        EXPECT_EQ(scan.Observer().ReasonOf(path), "over a limit") << path;
    EXPECT_EQ(scan.Observer().ThreatOf(caught), "EICAR-Test-File");
    EXPECT_EQ(scan.Observer().ReasonOf(fits), "");
    EXPECT_EQ(result.counters.scannedObjects, 2u);
    EXPECT_EQ(result.counters.notProcessed, 10u);
}

TEST(ScanLimits, AFileThatTakesTooLongIsNotProcessed) {
    ScannerConfig config = TestConfig();
    config.fileTimeLimitMs = 300;
    Scanner scanner(config);
    const TemporaryFolder folder;
    const std::string large = folder.Write("large", Noise(600u << 20));
    const std::string small = folder.Write("e.com", TestThreat());
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    const ScanResult result = scan.Result();
    EXPECT_EQ(result.end, ScanEnd::Completed);
    EXPECT_EQ(scan.Observer().ReasonOf(large), "takes too long");
    EXPECT_FALSE(scan.Observer().ThreatOf(small).empty());
}

TEST(ScanLimits, AFullTemporaryFolderIsNotTakenForClean) {
    ScannerConfig config = TestConfig();
    config.temporarySize = 1 << 20;
    Scanner scanner(config);
    if (scanner.Service().State().sandbox.find("private tmpfs") == std::string::npos)
        GTEST_SKIP() << "no tmpfs of its own can be mounted here";
    const TemporaryFolder folder;
    folder.Write("zeros", std::string(20 << 20, 'z') + TestThreat());
    RunCommand("cd '" + folder.Path() + "' && zip -q full.zip zeros && tar -czf full.tar.gz zeros && rm zeros");
    folder.Write("e.com", TestThreat());
    // The engine says nothing when it can't write down an attachment.
    std::string mail =
        "From: a@b.c\nSubject: x\nMIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=\"part\"\n\n"
        "--part\nContent-Type: application/octet-stream; name=\"a.bin\"\n"
        "Content-Transfer-Encoding: base64\nContent-Disposition: attachment; filename=\"a.bin\"\n\n";
    for (int i = 0; i < 60000; ++i)
        mail += "enp6enp6enp6enp6enp6enp6enp6enp6enp6enp6enp6\n";
    folder.Write("full.eml", mail + "--part--\n");
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    scan.Result();
    for (const char* name : {"full.zip", "full.tar.gz", "full.eml"})
        EXPECT_EQ(scan.Observer().ReasonOf(folder / name), "no space for temporary files") << name;
    EXPECT_FALSE(scan.Observer().ThreatOf(folder / "e.com").empty());
}

TEST(ScanLimits, AShortageOfMemoryIsNotTakenForClean) {
    ScannerConfig config = TestConfig();
    config.workerMemoryLimit = 64 << 20;
    Scanner scanner(config);
    const TemporaryFolder folder;
    folder.Write("plain", std::string(100 << 20, 'z') + MarkerThreat());
    RunCommand("cd '" + folder.Path() +
               "' && zip -q plain.zip plain && tar -czf plain.tar.gz plain && gzip -k plain && " +
               "bzip2 -k plain && xz -1 -k plain");
    folder.Write("e.com", TestThreat());
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    const ScanResult result = scan.Result();
    EXPECT_EQ(result.counters.scannedObjects, result.counters.threats) << "clean would be a lie";
    EXPECT_EQ(result.counters.threats + result.counters.notProcessed, 7u);
    EXPECT_FALSE(scan.Observer().ThreatOf(folder / "e.com").empty());
}

TEST(ScanLimits, AHugeSparseBombIsNotProcessed) {
    ScannerConfig config = TestConfig();
    config.maxFileSize = 32 << 20;
    Scanner scanner(config);
    const TemporaryFolder folder;
    RunCommand("cd '" + folder.Path() + "' && truncate -s 2500M zeros && zip -q -1 -fz bomb.zip zeros && rm zeros");
    RunCommand("truncate -s 3G '" + folder.Path() + "/sparse'");
    RunningScan scan(scanner.Service(), Area(folder.Path()));
    const ScanResult result = scan.Result();
    EXPECT_EQ(result.counters.scannedObjects, 0u) << "clean would be a lie";
    EXPECT_EQ(scan.Observer().ReasonOf(folder / "sparse"), "over a limit");
    EXPECT_EQ(result.counters.notProcessed, 2u);
}

TEST(ScanLimits, AFileThatChangesWhileItIsReadIsNotClean) {
    Scanner scanner;
    const TemporaryFolder folder;
    struct Row {
        const char* name;
        void (*change)(const std::string&);
    };
    const Row rows[] = {
        {"truncated", [](const std::string& path) { std::filesystem::resize_file(path, 1000); }},
        {"grown",
         [](const std::string& path) {
             std::ofstream(path, std::ios::app | std::ios::binary) << "more" << std::flush;
         }},
        {"rewritten",
         [](const std::string& path) {
             std::fstream(path, std::ios::in | std::ios::out | std::ios::binary) << "other" << std::flush;
         }},
    };
    for (const Row& row : rows) {
        const std::string path = folder.Write(row.name, Noise(400u << 20));
        EXPECT_EQ(CodeOf(scanner, Opened(path), [&] { row.change(path); }), VerdictCode::Changed) << row.name;
        std::filesystem::remove(path);
    }
}

} // namespace
} // namespace tfs::test
