// SPDX-License-Identifier: GPL-2.0-or-later
// Stored events in the system's own log, for those who gather it.
#pragma once

#include <contract/tfs/event.h>
#include <foundation/sync.h>
#include <foundation/trace.h>
#include <service/store/event_feed.h>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

namespace tfs::service::app {

/// Where lines go. Called on one thread; may wait as long as it takes.
class ISystemLog {
public:
    virtual ~ISystemLog() = default;
    virtual void Write(int priority, const std::string& line) = 0;
};

/// syslog(3), under the name "tesl-service".
class SystemLog final : public ISystemLog {
public:
    SystemLog();
    void Write(int priority, const std::string& line) override;
};

/// Name of the event, then its data as Name=Value; of at most 2048 bytes and without control characters.
std::string SystemLogLine(const Event& event);
/// A priority of syslog(3).
int SystemLogPriority(types::EventSeverity::Type severity) noexcept;

/// Follows the feed on a thread of its own, so that a log that doesn't take its lines holds nobody up: what falls out
/// of the feed meanwhile is left out, and told. All operations may be called from any thread but Stop, which is the
/// owner's.
class SystemLogForwarder {
public:
    /// The feed outlives the object.
    SystemLogForwarder(store::IEventFeed& feed, std::shared_ptr<ISystemLog> log);
    ~SystemLogForwarder();
    SystemLogForwarder(const SystemLogForwarder&) = delete;
    SystemLogForwarder& operator=(const SystemLogForwarder&) = delete;

    /// Events published from now on are written, or are no longer.
    void SetEnabled(bool enabled);
    /// Writes what has been published, for as long as that takes little time; a log that hangs is left to itself. Safe
    /// to call twice.
    void Stop() noexcept;

private:
    struct Shared {
        ulk::Mutex mutex;
        std::condition_variable_any changed;
        bool enabled ULK_GUARDED_BY(mutex) = false;
        bool stopping ULK_GUARDED_BY(mutex) = false;
        bool abandoned ULK_GUARDED_BY(mutex) = false; ///< the feed may be gone
        bool ended ULK_GUARDED_BY(mutex) = false;
        bool published ULK_GUARDED_BY(mutex) = false; ///< something may be behind `next`
        bool reading ULK_GUARDED_BY(mutex) = false;   ///< the feed is in use
        std::uint64_t next ULK_GUARDED_BY(mutex) = 0;

        bool IsWanted() {
            const ulk::LockGuard lock(mutex);
            return enabled && !abandoned;
        }
    };
    class Follower;

    store::IEventFeed& m_feed;
    const std::shared_ptr<ISystemLog> m_log;
    const std::shared_ptr<Shared> m_shared = std::make_shared<Shared>();
    std::thread m_thread;
};

} // namespace tfs::service::app
