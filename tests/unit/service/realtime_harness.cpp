// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/unit/service/realtime_harness.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tfs::test {
namespace {

/// Before any thread is made: a thread of its own would get a namespace of its own.
const bool OwnNamespace =
    ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;

std::string WhyNot() {
    if (!OwnNamespace)
        return "not run: no mount namespace of our own may be made here";
    FanotifyGroup group;
    const int error = group.Open(FanotifyGroup::Kind::Deciding);
    return error == 0 ? std::string() : "not run: fanotify is refused here, error " + std::to_string(error);
}

void MakeFolders(const std::string& path) {
    for (std::size_t at = path.find('/', 1); at != path.npos; at = path.find('/', at + 1))
        ::mkdir(path.substr(0, at).c_str(), 0755);
}

int WriteFile(const std::string& path, const std::string& content) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0755);
    if (file < 0)
        return errno;
    const bool whole = ::write(file, content.data(), content.size()) == static_cast<ssize_t>(content.size());
    ::close(file);
    return whole ? 0 : EIO;
}

} // namespace

PrivateFileSystem::PrivateFileSystem() {
    if (::mount("tesl-test", m_folder.Path().c_str(), "tmpfs", MS_NOATIME, nullptr) != 0)
        throw std::runtime_error("no tmpfs");
}

PrivateFileSystem::~PrivateFileSystem() { ::umount2(m_folder.Path().c_str(), MNT_DETACH); }

std::string PrivateFileSystem::Write(const std::string& name, const std::string& content) const {
    const std::string path = *this / name;
    MakeFolders(path);
    EXPECT_EQ(Child([&] { return WriteFile(path, content); }).Wait(), 0) << path;
    return path;
}

std::string PrivateFileSystem::Place(const std::string& name, const std::string& content) const {
    const std::string path = *this / name;
    MakeFolders(path);
    EXPECT_EQ(WriteFile(path, content), 0) << path;
    return path;
}

Child::Child(const std::function<int()>& work) : m_process(::fork()) {
    if (m_process == 0)
        ::_exit(work());
}

Child::~Child() {
    if (m_result < 0) {
        ::kill(m_process, SIGKILL);
        (void)Wait();
    }
}

int Child::Wait() {
    int status = 0;
    if (m_result < 0 && ::waitpid(m_process, &status, 0) == m_process)
        m_result = WIFEXITED(status) ? WEXITSTATUS(status) : 256 + WTERMSIG(status);
    return m_result;
}

int OpenInChild(const std::string& path) {
    return Child([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC) < 0 ? errno : 0; }).Wait();
}

int RunInChild(const std::string& path) {
    return Child([&] {
               ::execl(path.c_str(), path.c_str(), nullptr);
               return CantRun;
           })
        .Wait();
}

void RecordingHost::OnRunCounters(const tasks::TaskIdentity&, const ScanStatistic& counters, std::uint64_t) {
    const std::lock_guard lock(m_lock);
    m_counters = counters;
}

void RecordingHost::OnRunEnded(const tasks::TaskIdentity&, const tasks::RunOutcome& outcome) {
    const std::lock_guard lock(m_lock);
    m_outcome = outcome;
    ended = true;
}

void RecordingHost::PublishFinding(Event event) {
    const std::lock_guard lock(m_lock);
    m_events.push_back(std::move(event));
}

ScanStatistic RecordingHost::Counters() const {
    const std::lock_guard lock(m_lock);
    return m_counters;
}

tasks::RunOutcome RecordingHost::Outcome() const {
    const std::lock_guard lock(m_lock);
    return m_outcome;
}

std::vector<std::string> RecordingHost::Told(types::EventName::Type type, types::AdditionalName::Type field) const {
    const std::lock_guard lock(m_lock);
    std::vector<std::string> texts;
    for (const Event& event : m_events) {
        ulk::types::variant_t value;
        if (event.type != type || !ULK_SUCCEEDED(event.GetAdditionalData(field, value)))
            continue;
        if (const auto* text = value.As<std::string>())
            texts.push_back(*text);
    }
    return texts;
}

bool RecordingHost::Tells(types::EventName::Type type, types::AdditionalName::Type field,
                          const std::string& part) const {
    const auto texts = Told(type, field);
    return std::any_of(texts.begin(), texts.end(),
                       [&](const std::string& text) { return text.find(part) != text.npos; });
}

result_t RecordingKeeper::Take(const service::storage::FoundObject& object, BackupId& id, std::string&) noexcept {
    Eventually([this] { return !shut; });
    struct stat status {};
    char content[256];
    const ssize_t size = ::pread(object.file, content, sizeof content, 0);
    if (size < 0 || ::fstat(object.file, &status) != 0)
        return ulk::eUnspecified;
    const std::lock_guard lock(m_lock);
    m_objects.push_back({object.path, status.st_ino, std::string(content, static_cast<std::size_t>(size))});
    id = m_objects.size();
    return ulk::sOk;
}

std::vector<RecordingKeeper::Taken> RecordingKeeper::Objects() const {
    const std::lock_guard lock(m_lock);
    return m_objects;
}

Protection::Protection(test::Scanner& scanner, FileMonitoringSettings settings, RealtimeSetup setup)
    : m_engine(scanner) {
    tasks::RunOrder order;
    order.task = {1, task_name::FileMonitoring, task_type::OAS, 1};
    order.settings.Set(std::move(settings));
    setup.keeper = &keeper;
    m_run = std::make_shared<RealtimeRun>(std::move(order), std::move(setup), m_engine, host);
    m_thread = std::thread([this] { m_run->Execute(); });
}

bool Protection::Begins() {
    return Eventually([&] { return host.begun > 0 || host.ended; }) && !host.ended;
}

void Protection::Stop() {
    if (!m_thread.joinable())
        return;
    m_run->Stop();
    m_thread.join();
}

void RealtimeTest::SetUp() {
    if (const std::string why = WhyNot(); !why.empty())
        GTEST_SKIP() << why;
    m_files = std::make_unique<PrivateFileSystem>();
}

FileMonitoringSettings RealtimeTest::Settings(types::FileScanMode::Type mode) const {
    FileMonitoringSettings settings;
    settings.mode = mode;
    settings.areas = {m_files->Path()};
    return settings;
}

} // namespace tfs::test
