// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/remoting/connection.h>
#include <platform/remoting/remote_locator.h>
#include <platform/remoting/transport.h>

#include <exception>
#include <kj/io.h>
#include <unistd.h>

namespace ulk::remoting {

result_t ConnectionLoop::Start(int socket, std::chrono::steady_clock::time_point deadline) noexcept {
    auto call = std::shared_ptr<PendingCall<Nothing>>();
    try {
        call = std::make_shared<PendingCall<Nothing>>();
        auto greeting = std::make_shared<CallTicket<Nothing>>(call, nullptr);
        LockGuard lock(m_mutex);
        m_thread = tfs::wire::StartQuietThread(
            "remoting", [core = m_core, socket, greeting = std::move(greeting)] { Run(core, socket, greeting); });
    } catch (...) {
        ::close(socket);
        return tfs::wire::ResultFromCurrentException();
    }
    Nothing nothing;
    const result_t result = call->Wait(deadline, nothing);
    if (!ULK_SUCCEEDED(result))
        Shutdown();
    return result;
}

void ConnectionLoop::Run(const std::shared_ptr<ConnectionCore>& core, int socket,
                         std::shared_ptr<CallTicket<Nothing>> greeting) noexcept {
    kj::AutoCloseFd descriptor(socket);
    core->Queue().Adopt();
    try {
        auto io = kj::setupAsyncIo();
        Session session(io, kj::mv(descriptor), *core);
        core->SetLoopSession(&session);
        session.Greet(std::move(greeting));
        core->Queue().Serve(io, core->Tracer());
        core->SetLoopSession(nullptr);
    } catch (const kj::Exception& e) {
        ULK_TRACE(core->Tracer(), level::Failure) << "remoting: the loop ended: " << e.getDescription().cStr();
    } catch (const std::exception& e) {
        ULK_TRACE(core->Tracer(), level::Failure) << "remoting: the loop ended: " << e.what();
    }
    core->SetLoopSession(nullptr);
    core->SetAlive(false);
    core->DropSubscriptions();
    core->Queue().Close();
}

void ConnectionLoop::Shutdown() noexcept {
    m_core->SetAlive(false);
    m_core->Queue().RequestStop();
    std::thread thread;
    {
        LockGuard lock(m_mutex);
        thread = std::move(m_thread);
    }
    if (!thread.joinable())
        return;
    if (thread.get_id() == std::this_thread::get_id())
        Transport::Process().JoinLater(std::move(thread));
    else
        thread.join();
}

Connection::Connection(std::shared_ptr<ConnectionLoop> loop)
    : m_loop(std::move(loop)), m_locator(Ptr<IServiceLocator>::Adopt(new RemoteLocator(m_loop->Core()))) {}

result_t Connection::GetServiceLocator(IServiceLocator** locator) noexcept {
    if (locator == nullptr)
        return eInvalidArgument;
    *locator = nullptr;
    if (!m_loop->Core()->IsAlive())
        return eNotReady;
    *locator = Ptr<IServiceLocator>(m_locator).Detach();
    return sOk;
}

} // namespace ulk::remoting
