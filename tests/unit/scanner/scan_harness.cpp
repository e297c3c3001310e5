// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/unit/scanner/scan_harness.h>

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/stat.h>

namespace tfs::test {
namespace {

constexpr int SettleSeconds = 1;

} // namespace

bool Eventually(const std::function<bool()>& condition, std::chrono::seconds deadline) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

/// Inside one of the observer's operations.
struct RecordingObserver::Call {
    explicit Call(RecordingObserver& observer) : counter(observer.m_inside) {
        EXPECT_EQ(counter.fetch_add(1), 0) << "two calls at a time";
    }
    ~Call() { --counter; }
    std::atomic<int>& counter;
};

void RecordingObserver::OnThreat(const ThreatFound& threat) {
    const Call call(*this);
    const std::lock_guard lock(m_lock);
    m_threats.push_back(threat);
    m_threats.back().file.reset(); // a record of many runs would use up the descriptors
}

void RecordingObserver::OnNotProcessed(const NotProcessed& object) {
    const Call call(*this);
    const std::lock_guard lock(m_lock);
    m_notProcessed.push_back(object);
}

void RecordingObserver::OnProgress(const ScanProgress& progress) {
    const Call call(*this);
    const std::lock_guard lock(m_lock);
    if (!m_progress.empty()) {
        EXPECT_GE(progress.percent, m_progress.back().percent);
        EXPECT_GE(progress.scannedObjects, m_progress.back().scannedObjects);
    }
    EXPECT_LE(progress.percent, 100u);
    m_progress.push_back(progress);
}

std::vector<ThreatFound> RecordingObserver::Threats() const {
    const std::lock_guard lock(m_lock);
    return m_threats;
}

std::vector<NotProcessed> RecordingObserver::NotProcessedObjects() const {
    const std::lock_guard lock(m_lock);
    return m_notProcessed;
}

std::vector<ScanProgress> RecordingObserver::Progress() const {
    const std::lock_guard lock(m_lock);
    return m_progress;
}

std::string RecordingObserver::ThreatOf(const std::string& path) const {
    for (const ThreatFound& threat : Threats())
        if (threat.path == path)
            return threat.detectName;
    return {};
}

std::string RecordingObserver::ReasonOf(const std::string& path) const {
    for (const NotProcessed& object : NotProcessedObjects())
        if (object.path == path)
            return ReasonText(object.reason);
    return {};
}

void FillSecondSet(const TemporaryFolder& bases) {
    for (const char* name : {"tolvander.hdb", "tolvander.ndb"})
        std::filesystem::copy(TESL_TEST_BASES + std::string("/") + name, bases / name);
    std::string pattern = "Test.Second:0:*:";
    for (const char* c = NewMarker; *c != '\0'; ++c) {
        constexpr char Digits[] = "0123456789abcdef";
        pattern += Digits[*c >> 4];
        pattern += Digits[*c & 15];
    }
    bases.Write("second.ndb", pattern + "\n");
}

ScannerConfig TestConfig() {
    ScannerConfig config;
    config.program = TESL_TEST_SCANNER;
    config.basesFolder = TESL_TEST_BASES;
    config.settleSeconds = SettleSeconds;
    return config;
}

Scanner::Scanner(ScannerConfig config)
    : m_most(config.maxWorkers == 0 ? scanner::MaxWorkers : config.maxWorkers), m_service(std::move(config), {}) {
    if (ULK_FAILED(m_service.Start()))
        throw std::runtime_error("scanner: " + m_service.State().error);
    if (!WaitUntilIdle())
        throw std::runtime_error("the workers don't get ready");
}

bool Scanner::Busy() {
    const auto workers = Workers();
    return std::any_of(workers.begin(), workers.end(), IsAtWork);
}

bool Scanner::WaitUntilIdle() {
    const std::size_t processors = std::max(1u, std::thread::hardware_concurrency());
    return Eventually([&] {
        const auto workers = Workers();
        return m_service.State().workers == workers.size() &&
               workers.size() >= std::min<std::size_t>(processors, m_most) && !Busy();
    });
}

RunningScan::RunningScan(ScannerService& service, ScanOptions options)
    : m_run(MakeScanRun(service, std::move(options), m_observer)), m_thread([this] {
          m_result = m_run->Run();
          m_ended = true;
      }) {}

RunningScan::~RunningScan() {
    if (!m_thread.joinable())
        return;
    m_run->Stop();
    m_thread.join();
}

ScanResult RunningScan::Result() {
    if (m_thread.joinable())
        m_thread.join();
    return m_result;
}

ScanOptions Area(const std::string& path) {
    ScanOptions options;
    options.areas = {path};
    return options;
}

bool PauseInAFile(Scanner& scanner, RunningScan& scan) {
    const auto held = [&] {
        const auto workers = scanner.Workers();
        return std::any_of(workers.begin(), workers.end(), [](pid_t each) { return ProcessState(each) == 'T'; });
    };
    while (!scan.Ended()) {
        EXPECT_TRUE(Eventually([&] { return scanner.Busy() || scan.Ended(); }));
        scan.Run().Pause();
        if (Eventually(held, std::chrono::seconds(1)))
            return true;
        scan.Run().Resume(); // no file was in hand yet
    }
    return false;
}

void WaitUntilOld(const std::string& path) {
    // The status time can't be set.
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    ASSERT_TRUE(Eventually([&] {
        timespec now{};
        ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
        return now.tv_sec - status.st_ctim.tv_sec > SettleSeconds;
    }));
}

char ProcessState(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(status, text);
    const std::size_t end = text.rfind(") ");
    return end == std::string::npos ? '\0' : text[end + 2];
}

bool IsAtWork(pid_t worker) {
    const char state = ProcessState(worker);
    return state == 'R' || state == 'D';
}

std::size_t OpenDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

} // namespace tfs::test
