// SPDX-License-Identifier: GPL-2.0-or-later
// A client of the module and a server for it, each in one line of a test.
#pragma once

#include <contract/remoting.h>
#include <contract/tfs/event.h>
#include <foundation/module.h>
#include <foundation/objclient.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tfs::test {

/// A folder of the test's own, which everybody may enter; removed with what is in it.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    const std::string& Path() const noexcept { return m_path; }
    std::string File(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

/// Waits until the condition holds; false when it doesn't within the time.
bool WaitFor(const std::function<bool()>& condition, std::chrono::milliseconds time = std::chrono::seconds(20));

std::size_t OpenDescriptors();
std::size_t RunningThreads();

/// The module, loaded once for the process.
ulk::Ptr<ulk::remoting::IConnectionFactory> ConnectionFactory();
ulk::Ptr<ulk::remoting::ITransport> Transport();

/// Time limits that keep a failing test short.
ulk::remoting::ConnectionSettings Settings(const std::string& socketPath);
result_t Connect(const ulk::remoting::ConnectionSettings& settings,
                 ulk::Ptr<ulk::remoting::IRemoteConnection>& connection);

/// A connection with its locator.
class Client {
public:
    explicit Client(const std::string& socketPath) : Client(Settings(socketPath)) {}
    explicit Client(const ulk::remoting::ConnectionSettings& settings);
    bool IsAlive();
    template <class Interface>
    ulk::Ptr<Interface> Get() {
        ulk::Ptr<Interface> object;
        result = ulk::GetInterface(locator.Get(), object.Ref());
        return object;
    }

    ulk::Ptr<ulk::remoting::IRemoteConnection> connection;
    ulk::Ptr<ulk::IServiceLocator> locator;
    result_t result = ulk::eUnexpected; ///< of the last step
};

/// A receiver that keeps what it gets.
class Receiver final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, IRemoteEventsReceiver> {
public:
    result_t OnEvent(const Event& event) override;
    result_t GetReceiverName(ulk::types::string16_t& name) const override;

    std::vector<Event> Events() const;
    std::size_t Count() const;
    /// Called for each event before it is kept.
    std::function<void(const Event&)> onEvent;

private:
    mutable std::mutex m_mutex;
    std::vector<Event> m_events;
};

/// The helper program that serves in a process of its own until it is killed or this object goes.
class ServerProcess {
public:
    explicit ServerProcess(const std::string& socketPath);
    ~ServerProcess();
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    /// After SIGSTOP the process has stopped.
    void Signal(int number) const;
    /// SIGKILL, and waits for the end.
    void Kill();
    /// Publishes that many events.
    void Publish(unsigned count);
    pid_t Pid() const noexcept { return m_pid; }

private:
    pid_t m_pid = -1;
    int m_input = -1;
    int m_output = -1;
};

} // namespace tfs::test
