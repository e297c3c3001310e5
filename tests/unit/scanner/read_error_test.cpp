// SPDX-License-Identifier: GPL-2.0-or-later
// A disk that fails in the middle of a file: the engine may call clean what it could read, and the scanner never does.
#include <contract/scanner_channel.h>
#include <scanner/engine.h>
#include <tests/unit/scanner/scan_files.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <seccomp.h>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

namespace tfs::scanner {
namespace {

constexpr std::size_t FileSize = std::size_t{24} << 20;
constexpr std::size_t BadFrom = std::size_t{12} << 20;
/// A read that begins before the bad part may take some of it along.
constexpr std::size_t OutOfReach = std::size_t{18} << 20;

class Patient final : public IReadMonitor {
    bool GoOn(std::uint64_t) override { return true; }
};

/// From here to its end the calling thread can't read beyond the offset.
void FailReadsFrom(std::size_t offset) {
    const scmp_filter_ctx filter = ::seccomp_init(SCMP_ACT_ALLOW);
    ASSERT_NE(filter, nullptr);
    const scmp_arg_cmp beyond = SCMP_A3(SCMP_CMP_GE, offset);
    EXPECT_EQ(::seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EIO), SCMP_SYS(pread64), 1, &beyond), 0);
    EXPECT_EQ(::seccomp_load(filter), 0);
    ::seccomp_release(filter);
}

/// An engine that reads files into memory up to a size, and by its own calls beyond.
class BadDisk : public testing::TestWithParam<std::size_t> {
protected:
    void SetUp() override {
        Settings settings;
        settings.basesFolder = TESL_TEST_BASES;
        ASSERT_EQ(m_engine.Load(settings), "");
        if (GetParam() != 0)
            m_engine.SetReadBuffer(GetParam());
    }
    /// A file with the marker, if at all, at the offset; scanned where nothing can be read from `bad` on.
    Verdict Scan(std::size_t bad, std::optional<std::size_t> marker = {}) {
        std::string content = test::Noise(FileSize);
        if (marker)
            content.replace(*marker, test::MarkerThreat().size(), test::MarkerThreat());
        const Descriptor file(::open(m_folder.Write("file", content).c_str(), O_RDONLY | O_CLOEXEC));
        Verdict verdict;
        std::thread([&] {
            FailReadsFrom(bad);
            Patient monitor;
            verdict = m_engine.Scan(file.Get(), monitor);
        }).join();
        return verdict;
    }

    const test::TemporaryFolder m_folder;
    Engine m_engine;
};

TEST_P(BadDisk, AFileThatCantBeReadToItsEndIsNotClean) {
    const Verdict verdict = Scan(BadFrom);
    EXPECT_EQ(verdict.code, VerdictCode::ReadError);
    EXPECT_EQ(verdict.detail, std::strerror(EIO));
    EXPECT_GT(verdict.bytes, 0u);
    EXPECT_LT(verdict.bytes, FileSize);
    EXPECT_EQ(Scan(0).code, VerdictCode::ReadError);
    EXPECT_EQ(Scan(BadFrom, OutOfReach).code, VerdictCode::ReadError);
    EXPECT_EQ(Scan(FileSize + 1).code, VerdictCode::Clean) << "the error was no error of this file";
    EXPECT_EQ(Scan(FileSize + 1, OutOfReach).code, VerdictCode::Infected);
}

INSTANTIATE_TEST_SUITE_P(Ways, BadDisk, testing::Values(std::size_t{0}, 2 * FileSize),
                         [](const auto& way) { return way.param == 0 ? "ByTheEngine" : "IntoMemory"; });

TEST(FileSource, AnErrorBehindGoodPagesIsTold) {
    // The kernel reads another process's memory as a file, page by page, up to the first that isn't there.
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void* const pages = ::mmap(nullptr, 3 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    ASSERT_EQ(::munmap(static_cast<char*>(pages) + 2 * page, page), 0);
    const Descriptor memory(::open("/proc/self/mem", O_RDONLY | O_CLOEXEC));
    Patient monitor;
    FileSource source(memory.Get(), monitor);
    ASSERT_TRUE(source.Begin());
    std::string buffer(3 * page, '\1');
    errno = 0;
    EXPECT_EQ(source.Read(buffer.data(), buffer.size(), reinterpret_cast<off_t>(pages)), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(source.Trouble(), SourceTrouble::ReadError);
    EXPECT_EQ(source.Detail(), std::strerror(EIO));
    ::munmap(pages, 2 * page);
}

} // namespace
} // namespace tfs::scanner
