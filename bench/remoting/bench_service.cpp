// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/rpc_server.h>

#include <bench/remoting/bench_feed.h>
#include <bench/remoting/bench_service.h>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <signal.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace tfs::bench {
namespace {

using service::rpc::Caller;

/// Answers at once, so that the transport alone is measured.
class InstantService final : public service::rpc::IServiceApi, public service::rpc::IBlockingApi {
public:
    result_t GetAppInfo(AppInfo&) noexcept override { return ulk::sOk; }
    result_t GetAppSettings(settings::AppSettings&) noexcept override { return ulk::sOk; }
    result_t GetPolicy(PolicyState&) noexcept override { return ulk::sFalse; }
    result_t IsUserManageTasksAllowed(bool&, bool&) noexcept override { return ulk::sOk; }
    result_t CanBeStarted(const Caller&, const std::u16string&, bool&) noexcept override { return ulk::sOk; }
    result_t CanBeStopped(const Caller&, const std::u16string&, bool&) noexcept override { return ulk::sOk; }
    result_t GetTaskList(std::vector<core::TaskInfo>&) noexcept override { return ulk::sOk; }
    result_t GetTaskInfo(const std::u16string&, core::TaskInfo&) noexcept override { return ulk::sOk; }
    result_t GetStatistics(std::vector<OxsStatistic>&) noexcept override { return ulk::sOk; }
    result_t GetStatistic(const std::u16string&, OxsStatistic&) noexcept override { return ulk::sOk; }
    result_t GetOdsStatistics(ScanStatistic&) noexcept override { return ulk::sOk; }
    result_t GetSchedule(const std::u16string&, TaskSchedule&) noexcept override { return ulk::sOk; }
    result_t StartTask(const Caller&, const std::u16string&) noexcept override { return ulk::sOk; }
    result_t StopTask(const Caller&, const std::u16string&) noexcept override { return ulk::sOk; }
    result_t PauseTask(const Caller&, const std::u16string&) noexcept override { return ulk::sOk; }
    result_t ResumeTask(const Caller&, const std::u16string&) noexcept override { return ulk::sOk; }
    result_t DeleteTask(const Caller&, const std::u16string&) noexcept override { return ulk::sOk; }
    result_t DeleteStatistic(const Caller&, const OxsStatistic&) noexcept override { return ulk::sOk; }
    result_t CreateScanTask(const Caller&, const ScanSettings&, core::TaskInfo&) noexcept override { return ulk::sOk; }

    result_t SetAppSettings(const Caller&, const settings::SettingsChangeList&, bool,
                            std::vector<settings::ValidationMessage>&) noexcept override {
        return ulk::sOk;
    }
    result_t GetEventCount(const Caller&, std::uint64_t&) noexcept override { return ulk::sOk; }
    result_t GetOldestEvent(const Caller&, Event&) noexcept override { return ulk::sOk; }
    result_t GetEvent(const Caller&, Event::IdType, Event&) noexcept override { return ulk::sOk; }
    result_t QueryEvents(const Caller&, const EventQuery&, service::store::EventCursor, std::size_t,
                         service::store::EventPage&) noexcept override {
        return ulk::sOk;
    }
};

} // namespace

void SayReady() {
    if (::write(STDOUT_FILENO, "r", 1) != 1)
        ::_exit(1);
}

int RunService(const char* socketPath, std::size_t ringSize) {
    InstantService api;
    BenchFeed feed(ringSize);
    service::rpc::RpcServer::Options options;
    options.socketPath = socketPath;
    service::rpc::RpcServer server(options, api, api, feed, nullptr);
    if (const result_t result = server.Start(); !ULK_SUCCEEDED(result)) {
        std::fprintf(stderr, "cannot serve: %s\n", ulk::ResultText(result).data());
        return 1;
    }
    SayReady();
    char command = 0;
    while (::read(STDIN_FILENO, &command, 1) == 1)
        feed.Publish(EventCount);
    return 0;
}

ChildProcess::ChildProcess(const char* mode, const std::string& socketPath) {
    int input[2];
    int output[2];
    if (::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe2");
    m_pid = ::fork();
    if (m_pid == 0) {
        ::dup2(input[0], STDIN_FILENO);
        ::dup2(output[1], STDOUT_FILENO);
        ::execl("/proc/self/exe", "remoting_bench", mode, socketPath.c_str(), nullptr);
        ::_exit(127);
    }
    ::close(input[0]);
    ::close(output[1]);
    m_input = input[1];
    m_output = output[0];
    char ready = 0;
    if (::read(m_output, &ready, 1) != 1)
        throw std::runtime_error("the child process didn't start");
}

ChildProcess::~ChildProcess() {
    ::kill(m_pid, SIGKILL);
    ::waitpid(m_pid, nullptr, 0);
    ::close(m_input);
    ::close(m_output);
}

void ChildProcess::Publish() const {
    if (::write(m_input, "p", 1) != 1)
        throw std::runtime_error("write");
}

long ChildProcess::Memory(const std::string& field) const {
    std::ifstream status("/proc/" + std::to_string(m_pid) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind(field + ":", 0) == 0)
            return std::stol(line.substr(field.size() + 1));
    throw std::runtime_error("no " + field);
}

} // namespace tfs::bench
