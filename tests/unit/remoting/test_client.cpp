// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/unit/remoting/test_client.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <signal.h>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tfs::test {

using namespace std::chrono_literals;

TempFolder::TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "remoting-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("mkdtemp");
    m_path = name;
    ::chmod(m_path.c_str(), 0755);
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

bool WaitFor(const std::function<bool()>& condition, std::chrono::milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

namespace {

std::size_t CountEntries(const char* folder) {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder))
        ++count;
    return count;
}

ulk::Module& RemotingModule() {
    static ulk::Module module;
    static const result_t loaded = module.Load(TESL_REMOTING_MODULE);
    if (!ULK_SUCCEEDED(loaded))
        throw std::runtime_error(module.ErrorText());
    return module;
}

} // namespace

std::size_t OpenDescriptors() { return CountEntries("/proc/self/fd"); }
std::size_t RunningThreads() { return CountEntries("/proc/self/task"); }

ulk::Ptr<ulk::remoting::IConnectionFactory> ConnectionFactory() {
    void* object = nullptr;
    if (!ULK_SUCCEEDED(RemotingModule().CreateObject(ulk::remoting::ConnectionFactoryClass, nullptr,
                                                     ulk::remoting::IConnectionFactory::Iid, &object)))
        throw std::runtime_error("no connection factory");
    return ulk::Ptr<ulk::remoting::IConnectionFactory>::Adopt(static_cast<ulk::remoting::IConnectionFactory*>(object));
}

ulk::Ptr<ulk::remoting::ITransport> Transport() {
    void* object = nullptr;
    if (!ULK_SUCCEEDED(RemotingModule().CreateObject(ulk::remoting::TransportServiceClass, nullptr,
                                                     ulk::remoting::ITransportService::Iid, &object)))
        throw std::runtime_error("no transport service");
    const auto service =
        ulk::Ptr<ulk::remoting::ITransportService>::Adopt(static_cast<ulk::remoting::ITransportService*>(object));
    ulk::Ptr<ulk::remoting::ITransport> transport;
    ulk::GetInterface(service.Get(), transport.Ref(), ulk::throwOnFailure);
    return transport;
}

ulk::remoting::ConnectionSettings Settings(const std::string& socketPath) {
    ulk::remoting::ConnectionSettings settings;
    settings.address = socketPath;
    return settings;
}

result_t Connect(const ulk::remoting::ConnectionSettings& settings,
                 ulk::Ptr<ulk::remoting::IRemoteConnection>& connection) {
    return ConnectionFactory()->CreateRemoteRpc(utils::MakeAnyptr<ulk::remoting::ConnectionSettings>(settings),
                                                connection.Ref());
}

Client::Client(const ulk::remoting::ConnectionSettings& settings) {
    result = Connect(settings, connection);
    if (ULK_SUCCEEDED(result))
        result = connection->GetServiceLocator(locator.Ref());
}

bool Client::IsAlive() {
    ulk::Ptr<ulk::IServiceLocator> current;
    return connection && ULK_SUCCEEDED(connection->GetServiceLocator(current.Ref()));
}

result_t Receiver::OnEvent(const Event& event) {
    if (onEvent)
        onEvent(event);
    const std::lock_guard lock(m_mutex);
    m_events.push_back(event);
    return ulk::sOk;
}

result_t Receiver::GetReceiverName(ulk::types::string16_t& name) const {
    name = u"TestReceiver";
    return ulk::sOk;
}

std::vector<Event> Receiver::Events() const {
    const std::lock_guard lock(m_mutex);
    return m_events;
}

std::size_t Receiver::Count() const {
    const std::lock_guard lock(m_mutex);
    return m_events.size();
}

ServerProcess::ServerProcess(const std::string& socketPath) {
    int input[2];
    int output[2];
    if (::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe2");
    m_pid = ::fork();
    if (m_pid == 0) {
        ::dup2(input[0], STDIN_FILENO);
        ::dup2(output[1], STDOUT_FILENO);
        ::execl(TESL_TEST_SERVER, TESL_TEST_SERVER, socketPath.c_str(), nullptr);
        ::_exit(127);
    }
    ::close(input[0]);
    ::close(output[1]);
    m_input = input[1];
    m_output = output[0];
    char ready = 0;
    if (::read(m_output, &ready, 1) != 1) {
        Kill();
        throw std::runtime_error("the test server didn't start");
    }
}

ServerProcess::~ServerProcess() {
    Kill();
    ::close(m_input);
    ::close(m_output);
}

void ServerProcess::Signal(int number) const {
    if (m_pid <= 0)
        return;
    ::kill(m_pid, number);
    if (number == SIGSTOP)
        ::waitpid(m_pid, nullptr, WUNTRACED);
}

void ServerProcess::Kill() {
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }
}

void ServerProcess::Publish(unsigned count) {
    for (; count > 0; --count)
        if (::write(m_input, "e", 1) != 1)
            throw std::runtime_error("write");
}

} // namespace tfs::test
