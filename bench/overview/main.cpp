// SPDX-License-Identifier: GPL-2.0-or-later
// Refreshes the main page's and the protection page's model over the socket, with 10,000 objects in Storage, and tells
// how long the window's thread was at it. Beside it stands what asking for all objects there would cost.
#include <contract/remoting.h>
#include <foundation/datetime.h>
#include <foundation/module.h>
#include <foundation/objclient.h>
#include <gui/app_info/app_info_model.h>
#include <gui/backup_manager/backup_actions.h>
#include <gui/common/application.h>
#include <gui/protection_info/protection_state_model.h>
#include <service/rpc/rpc_server.h>
#include <tests/unit/remoting/fake_feed.h>
#include <tests/unit/remoting/fake_service.h>
#include <tests/unit/remoting/fake_storage.h>

#include <QtCore/QCoreApplication>
#include <algorithm>
#include <bench/median.h>
#include <bench/verdict.h>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <signal.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tfs::bench {
namespace {

constexpr BackupId ObjectCount = 10'000;
constexpr int Rounds = 51;
constexpr double GoalMilliseconds = 10;

core::TaskInfo Task(FixedTaskId id, const char16_t* name, const char16_t* type) {
    core::TaskInfo task;
    task.taskId = static_cast<std::uint64_t>(id);
    task.taskName = name;
    task.taskType = type;
    return task;
}

/// Serves until standard input ends.
int Serve(const char* socketPath) {
    test::FakeService service;
    service.tasks = {
        Task(FixedTaskId::FileMonitoring, task_name::FileMonitoring, task_type::OAS),
        Task(FixedTaskId::FullScan, task_name::FullScan, task_type::ODS),
        Task(FixedTaskId::CustomScan, task_name::CustomScan, task_type::ODS),
        Task(FixedTaskId::Update, task_name::Update, task_type::Update),
    };
    service.appInfo.avBasesLoaded = true;
    service.appInfo.avBasesDate = ulk::datetime::NowTicks();
    test::FakeStorage storage;
    for (BackupId id = 1; id <= ObjectCount; ++id)
        storage.items.push_back({id, ulk::types::string16_t(std::size_t{100}, u'x'), 3, "Test-Signature", {}, 1000});
    storage.settings.sizeLimitMb = 1000;
    test::FakeFeed feed(64);
    service::rpc::RpcServer::Options options;
    options.socketPath = socketPath;
    service::rpc::RpcServer server(options, service, service::rpc::BlockingApis(service, &storage), feed, nullptr);
    if (!ULK_SUCCEEDED(server.Start()) || ::write(STDOUT_FILENO, "r", 1) != 1)
        return 1;
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) == 1) {
    }
    return 0;
}

/// This program as the service, until the object goes.
class ServiceProcess {
public:
    explicit ServiceProcess(const std::string& socketPath) {
        int input[2];
        int output[2];
        if (::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0)
            throw std::runtime_error("pipe2");
        m_pid = ::fork();
        if (m_pid == 0) {
            ::dup2(input[0], STDIN_FILENO);
            ::dup2(output[1], STDOUT_FILENO);
            ::execl("/proc/self/exe", "overview_bench", "--serve", socketPath.c_str(), nullptr);
            ::_exit(127);
        }
        ::close(input[0]);
        ::close(output[1]);
        m_input = input[1];
        char ready = 0;
        const bool good = ::read(output[0], &ready, 1) == 1;
        ::close(output[0]);
        if (!good)
            throw std::runtime_error("the service doesn't start");
    }
    ~ServiceProcess() {
        ::close(m_input);
        ::waitpid(m_pid, nullptr, 0);
    }
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

private:
    pid_t m_pid = -1;
    int m_input = -1;
};

void Require(result_t result) {
    if (!ULK_SUCCEEDED(result))
        throw std::runtime_error(std::string(ulk::ResultText(result)));
}

/// As models see the window's program: a connection, and no trace.
class Application final : public gui::IApplication {
public:
    explicit Application(const std::string& socketPath) {
        Require(m_module.Load(TESL_REMOTING_MODULE));
        void* object = nullptr;
        Require(m_module.CreateObject(ulk::remoting::ConnectionFactoryClass, nullptr,
                                      ulk::remoting::IConnectionFactory::Iid, &object));
        const auto factory =
            ulk::Ptr<ulk::remoting::IConnectionFactory>::Adopt(static_cast<ulk::remoting::IConnectionFactory*>(object));
        ulk::remoting::ConnectionSettings settings;
        settings.address = socketPath;
        Require(factory->CreateRemoteRpc(utils::MakeAnyptr<ulk::remoting::ConnectionSettings>(settings),
                                         m_connection.Ref()));
        Require(m_connection->GetServiceLocator(m_remote.Ref()));
        gui::application::Set(this);
    }
    ~Application() {
        gui::application::Set(nullptr);
        m_connection->Shutdown();
    }
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    ulk::ITracer* Tracer() const noexcept override { return nullptr; }
    ulk::IServiceLocator* LocalServiceLocator() const noexcept override { return nullptr; }
    ulk::Ptr<ulk::IServiceLocator> GetRemoteServiceLocator() override { return m_remote; }

private:
    ulk::Module m_module;
    ulk::Ptr<ulk::remoting::IRemoteConnection> m_connection;
    ulk::Ptr<ulk::IServiceLocator> m_remote;
};

/// A model's first refresh is made by its constructor, and its first tick makes another, which comes when the question
/// that the first one has set going is long answered.
template <class Model>
bool MeasureRefresh(const char* name, void (Model::*tick)()) {
    std::vector<double> times;
    for (int round = 0; round < Rounds; ++round) {
        Model model;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        times.push_back(MillisecondsOf([&] { (model.*tick)(); }));
    }
    const double longest = *std::max_element(times.begin(), times.end());
    const double median = MedianOf(std::move(times));
    std::printf("%-18s median %.2f ms, longest %.2f ms (goal: at most %.0f ms)\n", name, median, longest,
                GoalMilliseconds);
    return median <= GoalMilliseconds;
}

bool Run(const std::string& folder) {
    const ServiceProcess service(folder + "/socket");
    Application application(folder + "/socket");
    const double everything = MedianMilliseconds([&] {
        std::uint32_t percentage = 0;
        Require(gui::BackupActions::GetBackupFillPercentage(application.GetRemoteServiceLocator().Get(), percentage));
    });
    std::printf("all %llu objects:  median %.2f ms beside the window's thread\n",
                static_cast<unsigned long long>(ObjectCount), everything);
    const bool good = MeasureRefresh("main page:", &gui::AppInfoModel::UpdateAppInfo);
    return MeasureRefresh("protection page:", &gui::ProtectionStateModel::UpdateProtectionStateInfo) && good;
}

} // namespace
} // namespace tfs::bench

int main(int argc, char** argv) {
    try {
        if (argc == 3 && std::strcmp(argv[1], "--serve") == 0)
            return tfs::bench::Serve(argv[2]);
        const QCoreApplication application(argc, argv);
        std::string folder = (std::filesystem::temp_directory_path() / "overview-bench-XXXXXX").string();
        if (::mkdtemp(folder.data()) == nullptr)
            throw std::runtime_error("mkdtemp");
        const bool good = tfs::bench::Run(folder);
        std::filesystem::remove_all(folder);
        return tfs::bench::TellVerdict(good);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "overview_bench: %s\n", e.what());
        return 1;
    }
}
