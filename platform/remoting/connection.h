// SPDX-License-Identifier: GPL-2.0-or-later
// One connection to the service: its loop's thread, and the object that is handed out for it.
#pragma once

#include <contract/remoting.h>
#include <foundation/sync.h>
#include <platform/remoting/connection_core.h>

#include <memory>
#include <thread>

namespace ulk::remoting {

class Transport;

/// Owns the loop's thread of one connection.
class ConnectionLoop {
public:
    explicit ConnectionLoop(std::shared_ptr<ConnectionCore> core) : m_core(std::move(core)) {}
    ~ConnectionLoop() { Shutdown(); }
    ConnectionLoop(const ConnectionLoop&) = delete;
    ConnectionLoop& operator=(const ConnectionLoop&) = delete;

    /// Takes the connected socket, starts the thread and waits for the greeting until the deadline. After a failure the
    /// thread is gone again.
    result_t Start(int socket, std::chrono::steady_clock::time_point deadline) noexcept;
    /// Fails every call under way with eNotReady, closes the socket and joins the thread; on the loop's own thread the
    /// join is left to the transport.
    void Shutdown() noexcept;
    const std::shared_ptr<ConnectionCore>& Core() const noexcept { return m_core; }

private:
    static void Run(const std::shared_ptr<ConnectionCore>& core, int socket,
                    std::shared_ptr<CallTicket<Nothing>> greeting) noexcept;

    const std::shared_ptr<ConnectionCore> m_core;
    Mutex m_mutex;
    std::thread m_thread ULK_GUARDED_BY(m_mutex);
};

class Connection final : public SimpleObjectBase<NoServiceStrategy, IRemoteConnection> {
public:
    explicit Connection(std::shared_ptr<ConnectionLoop> loop);
    result_t GetServiceLocator(IServiceLocator** locator) noexcept override;
    void Shutdown() noexcept override { m_loop->Shutdown(); }

private:
    ~Connection() override { m_loop->Shutdown(); }

    const std::shared_ptr<ConnectionLoop> m_loop;
    const Ptr<IServiceLocator> m_locator;
};

} // namespace ulk::remoting
