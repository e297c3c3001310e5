// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/rpc_server.h>
#include <service/store/event_bus.h>

#include <bench/remoting/bench_events.h>
#include <bench/remoting/bench_service.h>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <signal.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tfs::bench {
namespace {

namespace store = service::store;
using service::rpc::Caller;

/// Answers at once, so that the transport alone is measured.
class InstantService final : public service::rpc::IServiceApi, public service::rpc::IBlockingApi {
public:
    result_t GetAppInfo(AppInfo&) noexcept override { return ulk::sOk; }
    result_t GetAppSettings(settings::AppSettings&) noexcept override { return ulk::sOk; }
    bool AreReportsAllowed(const Caller&) noexcept override { return true; }
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
    result_t GetProgress(const std::u16string&, TaskProgress&) noexcept override { return ulk::sOk; }
    result_t GetTaskSettings(const std::u16string&, settings::SettingsChangeList&) noexcept override {
        return ulk::sOk;
    }

    result_t SetTaskSettings(const Caller&, const std::u16string&, const settings::SettingsChangeList&, bool,
                             std::vector<settings::ValidationMessage>&) noexcept override {
        return ulk::sOk;
    }
    result_t SetSchedule(const Caller&, const std::u16string&, const settings::SettingsChangeList&, bool,
                         std::vector<settings::ValidationMessage>&) noexcept override {
        return ulk::sOk;
    }
    result_t SetAppSettings(const Caller&, const settings::SettingsChangeList&, bool,
                            std::vector<settings::ValidationMessage>&) noexcept override {
        return ulk::sOk;
    }
    result_t GetEventCount(const Caller&, std::uint64_t&) noexcept override { return ulk::sOk; }
    result_t GetOldestEvent(const Caller&, Event&) noexcept override { return ulk::sOk; }
    result_t GetEvent(const Caller&, Event::IdType, Event&) noexcept override { return ulk::sOk; }
    result_t QueryEvents(const Caller&, const EventQuery&, store::EventCursor, std::size_t,
                         store::EventPage&) noexcept override {
        return ulk::sOk;
    }
};

/// Publishes on the thread that it is used on.
class Publisher {
public:
    explicit Publisher(store::IEventPublisher& bus) : m_bus(bus) {}

    void Do(Command command) {
        switch (command) {
        case Command::Settle:
            Settle();
            break;
        case Command::Prepare:
            Prepare();
            break;
        case Command::PublishStored:
        case Command::PublishTransient:
            Publish(command == Command::PublishStored);
            break;
        }
    }

private:
    void Settle() {
        Event event;
        event.type = types::EventName::ThreatDetected; // its publisher waits for the disk
        m_bus.Publish(std::move(event));
        SayReady();
    }
    void Prepare() {
        m_prepared.reserve(EventCount);
        while (m_prepared.size() < EventCount)
            m_prepared.push_back(EventOfNumber(m_nextNumber++));
        SayReady();
    }
    void Publish(bool stored) {
        for (unsigned i = 0; i < EventCount; ++i) {
            Event event = m_prepared.empty() ? EventOfNumber(m_nextNumber++) : std::move(m_prepared[i]);
            if (stored)
                m_bus.Publish(std::move(event));
            else
                m_bus.PublishTransient(std::move(event));
        }
        m_prepared.clear();
    }

    store::IEventPublisher& m_bus;
    std::int64_t m_nextNumber = 1;
    std::vector<Event> m_prepared;
};

} // namespace

void SayReady() {
    if (::write(STDOUT_FILENO, "r", 1) != 1)
        ::_exit(1);
}

int RunService(const char* socketPath, std::size_t ringSize) {
    store::EventBus::Options events;
    events.databasePath = std::string(socketPath) + ".db";
    if (ringSize != 0)
        events.ringSize = ringSize;
    store::EventBus bus(events, nullptr);
    bus.Start();
    InstantService api;
    service::rpc::RpcServer::Options options;
    options.socketPath = socketPath;
    service::rpc::RpcServer server(options, api, api, bus, nullptr);
    if (const result_t result = server.Start(); !ULK_SUCCEEDED(result)) {
        std::fprintf(stderr, "cannot serve: %s\n", ulk::ResultText(result).data());
        return 1;
    }
    SayReady();
    Publisher publisher(bus);
    char command = 0;
    while (::read(STDIN_FILENO, &command, 1) == 1)
        publisher.Do(static_cast<Command>(command));
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
    WaitUntilReady();
}

ChildProcess::~ChildProcess() {
    ::kill(m_pid, SIGKILL);
    ::waitpid(m_pid, nullptr, 0);
    ::close(m_input);
    ::close(m_output);
}

void ChildProcess::WaitUntilReady() const {
    char ready = 0;
    if (::read(m_output, &ready, 1) != 1)
        throw std::runtime_error("the child process ended");
}

void ChildProcess::Tell(Command command) const {
    const char byte = static_cast<char>(command);
    if (::write(m_input, &byte, 1) != 1)
        throw std::runtime_error("write");
    if (command == Command::Prepare || command == Command::Settle)
        WaitUntilReady();
}

long ChildProcess::Memory(const std::string& field) const {
    std::ifstream status("/proc/" + std::to_string(m_pid) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind(field + ":", 0) == 0)
            return std::stol(line.substr(field.size() + 1));
    throw std::runtime_error("no " + field);
}

} // namespace tfs::bench
