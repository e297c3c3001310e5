// SPDX-License-Identifier: GPL-2.0-or-later
// The part of the transport that a process has once.
#pragma once

#include <contract/remoting.h>
#include <foundation/sync.h>

#include <memory>
#include <thread>
#include <vector>

namespace ulk::remoting {

class ConnectionLoop;

/// Knows the connections of this process, so that all can be ended in one go. Any thread.
class Transport {
public:
    static Transport& Process();
    ~Transport() { JoinAbandoned(); }

    void Add(const std::shared_ptr<ConnectionLoop>& loop);
    /// A loop's thread that ended its own connection and can't join itself; joined by the next Add or Shutdown.
    void JoinLater(std::thread thread) noexcept;
    void Shutdown() noexcept;

private:
    void JoinAbandoned() noexcept;

    Mutex m_mutex;
    std::vector<std::weak_ptr<ConnectionLoop>> m_loops ULK_GUARDED_BY(m_mutex);
    std::vector<std::thread> m_abandoned ULK_GUARDED_BY(m_mutex);
};

/// What the program sees of it: the transport service, and the interface that is looked up on it.
class TransportService final : public SimpleObjectBase<NoServiceStrategy, ITransportService> {
public:
    result_t GetInterface(iid_t iid, std::uint32_t reserved, void** out) noexcept override;
    /// Answers to the identifier of a locator as well.
    result_t QueryInterface(iid_t iid, void** out) noexcept override;
};

} // namespace ulk::remoting
