// SPDX-License-Identifier: GPL-2.0-or-later
// Scans of what runs and of what the machine starts from.
#include <tests/unit/scanner/scan_files.h>
#include <tests/unit/scanner/scan_harness.h>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tfs::test {
namespace {

/// A program of the system that waits, with something behind its end that we know as a threat.
std::string InfectedProgram(const TemporaryFolder& folder, const std::string& name) {
    const std::string path = folder.Write(name, Contents("/bin/sleep") + MarkerThreat());
    EXPECT_EQ(::chmod(path.c_str(), 0700), 0);
    return path;
}

class RunningProgram {
public:
    explicit RunningProgram(const std::string& path) : m_process(::fork()) {
        if (m_process == 0) {
            ::execl(path.c_str(), "sleep", "1000", nullptr);
            ::_exit(1);
        }
        EXPECT_TRUE(Eventually([&] {
            std::error_code error;
            return std::filesystem::read_symlink("/proc/" + std::to_string(m_process) + "/exe", error) ==
                   std::filesystem::canonical(path);
        }));
    }
    ~RunningProgram() { End(); }
    pid_t Process() const { return m_process; }
    void End() {
        if (m_process > 0) {
            ::kill(m_process, SIGKILL);
            ::waitpid(m_process, nullptr, 0);
        }
        m_process = -1;
    }

private:
    pid_t m_process;
};

class MemoryScan : public testing::Test {
protected:
    void Show(pid_t process) {
        std::filesystem::create_directory_symlink("/proc/" + std::to_string(process),
                                                  m_processes / std::to_string(process));
    }
    ScanResult Run() {
        m_observer = std::make_unique<RecordingObserver>();
        return MakeMemoryScanRun(m_scanner.Service(), {}, *m_observer, m_processes.Path())->Run();
    }

    Scanner m_scanner;
    TemporaryFolder m_folder;
    TemporaryFolder m_processes;
    std::unique_ptr<RecordingObserver> m_observer;
};

TEST_F(MemoryScan, FindsProgramsThatWereDeletedAndEachInodeOnce) {
    const std::string path = InfectedProgram(m_folder, "program");
    const RunningProgram first(path);
    const RunningProgram second(path);
    Show(first.Process());
    Show(second.Process());
    ScanResult result = Run();
    EXPECT_EQ(result.end, ScanEnd::Completed);
    EXPECT_EQ(result.counters.threats, 1u);
    EXPECT_EQ(m_observer->ThreatOf(path), "Tolvander.Test.Marker");
    EXPECT_EQ(result.counters.percent, 100u);
    EXPECT_GT(result.counters.scannedObjects, 2u) << "the libraries it runs with";
    std::filesystem::remove(path);
    result = Run();
    if (::geteuid() == 0) {
        EXPECT_EQ(m_observer->ThreatOf(path + " (deleted)"), "Tolvander.Test.Marker");
    }
    EXPECT_EQ(result.counters.threats, 1u);
    EXPECT_EQ(ProcessState(first.Process()), 'S') << "no process is held up";
}

TEST_F(MemoryScan, FindsWhatIsMappedWithoutAName) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root may open the mappings of files without a name";
    const int file = ::memfd_create("fileless", MFD_CLOEXEC);
    const std::string content = MarkerThreat();
    ASSERT_EQ(::write(file, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    void* memory = ::mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE, file, 0);
    ::close(file);
    ASSERT_NE(memory, MAP_FAILED);
    Show(::getpid());
    Run();
    ::munmap(memory, 4096);
    EXPECT_EQ(m_observer->ThreatOf("/memfd:fileless (deleted)"), "Tolvander.Test.Marker");
}

TEST_F(MemoryScan, ProcessesThatEndAndNamesThatAreNoneAreLeftOut) {
    RunningProgram program("/bin/sleep");
    Show(program.Process());
    program.End();
    m_processes.Write("12x", "");
    m_processes.Write("99/maps", "garbage\n7f-80 r-xp 0 8:1 5 /no/such/file\n1-2 r-xp 00 00:00 0 [heap]\n");
    Show(2); // in a container this may be anything, even nothing
    const ScanResult result = Run();
    EXPECT_EQ(result.end, ScanEnd::Completed);
    EXPECT_EQ(result.counters.threats, 0u);
    EXPECT_EQ(m_observer->ReasonOf("/no/such/file"), "");
}

class BootScan : public testing::Test {
protected:
    void Device(const std::string& name, const std::string& content, bool partition = false) {
        m_blocks.Write(name + "/size", content.empty() ? "0\n" : "2048\n");
        if (partition)
            m_blocks.Write(name + "/partition", "1\n");
        std::string file = name;
        std::replace(file.begin(), file.end(), '!', '/');
        m_devices.Write(file, content);
    }
    ScanResult Run() {
        return MakeBootScanRun(m_scanner.Service(), {}, m_observer, m_blocks.Path(), m_devices.Path())->Run();
    }
    /// A boot record with a table of partitions that lie beyond what is read.
    static std::string Disk(const std::string& code) {
        std::string disk(1 << 20, '\0');
        code.copy(disk.data(), code.size());
        const unsigned char entry[] = {0x80, 0, 1, 0, 0x83, 0, 1, 0, 0, 4, 0, 0, 0, 4, 0, 0};
        std::copy(std::begin(entry), std::end(entry), disk.begin() + 446);
        disk[510] = '\x55';
        disk[511] = '\xaa';
        return disk;
    }

    Scanner m_scanner;
    TemporaryFolder m_blocks;
    TemporaryFolder m_devices;
    RecordingObserver m_observer;
};

TEST_F(BootScan, ReadsBootRecordsAndNothingElse) {
    Device("sda", Disk(MarkerThreat()));
    Device("sda1", std::string(600, 'x') + MarkerThreat(), true);
    Device("sdb", Disk("clean") + std::string(4096, 'x') + MarkerThreat());
    Device("cciss!c0d0", Disk(std::string(100, 'y') + MarkerThreat()));
    std::string table = Disk("clean"); // of the newer kind, and not quite right
    table[450] = '\xee';
    table.replace(512, 8, "EFI PART");
    table.replace(20000, MarkerThreat().size(), MarkerThreat());
    Device("nvme0n1", table);
    Device("sr0", "");
    const ScanResult result = Run();
    EXPECT_EQ(result.end, ScanEnd::Completed);
    EXPECT_EQ(m_observer.ThreatOf(m_devices / "sda"), "Tolvander.Test.Marker");
    EXPECT_EQ(m_observer.ThreatOf(m_devices / "sda1"), "Tolvander.Test.Marker");
    EXPECT_EQ(m_observer.ThreatOf(m_devices / "cciss/c0d0"), "Tolvander.Test.Marker");
    EXPECT_EQ(result.counters.threats, 4u) << "files of a disk are none of its business";
    EXPECT_EQ(result.counters.scannedObjects, 5u);
    for (const NotProcessed& object : m_observer.NotProcessedObjects())
        ADD_FAILURE() << object.path << ": " << ReasonText(object.reason) << " " << object.detail;
}

TEST_F(BootScan, TellsWhatCantBeReadAndWhenThereIsNothing) {
    ScanResult result = Run();
    EXPECT_EQ(result.end, ScanEnd::Completed);
    EXPECT_NE(m_observer.ReasonOf(m_devices.Path()), "");
    Device("sda", Disk("clean"));
    m_blocks.Write("sdb/size", "2048\n"); // no device file
    m_blocks.Write("sdc/size", "2048\n");
    std::filesystem::create_directory(m_devices / "sdc");
    result = Run();
    EXPECT_EQ(result.end, ScanEnd::Completed);
    EXPECT_EQ(m_observer.ReasonOf(m_devices / "sdb"), "can't be opened");
    EXPECT_NE(m_observer.ReasonOf(m_devices / "sdc"), "");
    EXPECT_EQ(result.counters.notProcessed, 2u);
    EXPECT_EQ(result.counters.scannedObjects, 1u);
}

} // namespace
} // namespace tfs::test
