// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/remoting/connection.h>
#include <platform/remoting/transport.h>

#include <algorithm>
#include <new>

namespace ulk::remoting {
namespace {

class TransportObject final : public SimpleObjectBase<NoServiceStrategy, ITransport> {
public:
    void Shutdown() noexcept override { Transport::Process().Shutdown(); }
};

} // namespace

Transport& Transport::Process() {
    static Transport transport;
    return transport;
}

void Transport::Add(const std::shared_ptr<ConnectionLoop>& loop) {
    JoinAbandoned();
    LockGuard lock(m_mutex);
    m_loops.erase(std::remove_if(m_loops.begin(), m_loops.end(), [](const auto& known) { return known.expired(); }),
                  m_loops.end());
    m_loops.push_back(loop);
}

void Transport::JoinLater(std::thread thread) noexcept {
    try {
        LockGuard lock(m_mutex);
        m_abandoned.push_back(std::move(thread));
    } catch (const std::bad_alloc&) {
        thread.detach();
    }
}

void Transport::Shutdown() noexcept {
    std::vector<std::weak_ptr<ConnectionLoop>> loops;
    {
        LockGuard lock(m_mutex);
        loops.swap(m_loops);
    }
    for (const auto& known : loops)
        if (const auto loop = known.lock())
            loop->Shutdown();
    JoinAbandoned();
}

void Transport::JoinAbandoned() noexcept {
    std::vector<std::thread> threads;
    {
        LockGuard lock(m_mutex);
        threads.swap(m_abandoned);
    }
    for (std::thread& thread : threads) {
        if (thread.get_id() == std::this_thread::get_id())
            JoinLater(std::move(thread));
        else
            thread.join();
    }
}

result_t TransportService::QueryInterface(iid_t iid, void** out) noexcept {
    if (out != nullptr && iid == IServiceLocator::Iid) {
        *out = static_cast<IServiceLocator*>(Ptr<TransportService>(this).Detach());
        return sOk;
    }
    return SimpleObjectBase::QueryInterface(iid, out);
}

result_t TransportService::GetInterface(iid_t iid, std::uint32_t reserved, void** out) noexcept {
    if (out == nullptr)
        return eInvalidArgument;
    *out = nullptr;
    if (reserved != 0)
        return eInvalidArgument;
    if (iid != ITransport::Iid)
        return eNoInterface;
    auto* transport = new (std::nothrow) TransportObject();
    if (transport == nullptr)
        return eOutOfMemory;
    *out = static_cast<ITransport*>(transport);
    return sOk;
}

} // namespace ulk::remoting
