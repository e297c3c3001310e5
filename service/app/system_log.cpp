// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/system_log.h>

#include <chrono>
#include <exception>
#include <syslog.h>
#include <utility>

namespace tfs::service::app {
namespace {

constexpr std::size_t GreatestLine = 2048;
constexpr std::size_t BatchSize = 64;
constexpr std::chrono::seconds StopPatience{2};

/// A file's name must not look like another line of the log.
std::string WithoutControls(std::string text) {
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = '?';
    return text;
}

/// Empty where the value has no text form.
std::string TextOf(const ulk::types::variant_t& value) {
    try {
        return ulk::types::VariantToString(value);
    } catch (const std::exception&) {
        return {};
    }
}

std::string NameOr(const types::ValueTable& table, std::int32_t value) {
    const std::string_view name = table.Name(value);
    return name.empty() ? std::to_string(value) : std::string(name);
}

} // namespace

SystemLog::SystemLog() { ::openlog("tesl-service", LOG_PID | LOG_NDELAY, LOG_DAEMON); }

void SystemLog::Write(int priority, const std::string& line) { ::syslog(priority, "%s", line.c_str()); }

std::string SystemLogLine(const Event& event) {
    std::string line = NameOr(types::EventName::Table(), event.type);
    const char* separator = ": ";
    for (const EventAdditionalData& data : event.additional) {
        if (data.hidden != 0)
            continue;
        line += separator + NameOr(types::AdditionalName::Table(), data.name) + '=' + TextOf(data.value);
        separator = ", ";
    }
    if (line.size() > GreatestLine)
        line = line.substr(0, GreatestLine - 3) + "...";
    return WithoutControls(std::move(line));
}

int SystemLogPriority(types::EventSeverity::Type severity) noexcept {
    switch (severity) {
    case types::EventSeverity::Critical:
        return LOG_CRIT;
    case types::EventSeverity::Error:
        return LOG_ERR;
    case types::EventSeverity::High:
    case types::EventSeverity::Medium:
        return LOG_WARNING;
    case types::EventSeverity::Low:
        return LOG_NOTICE;
    case types::EventSeverity::Informational:
        break;
    }
    return LOG_INFO;
}

/// What the thread does.
class SystemLogForwarder::Follower {
public:
    Follower(Shared& shared, store::IEventFeed& feed, ISystemLog& log) : m_shared(shared), m_feed(feed), m_log(log) {}

    void Run() noexcept {
        while (Await() && Read())
            Write();
        const ulk::LockGuard lock(m_shared.mutex);
        m_shared.ended = true;
        m_shared.changed.notify_all();
    }

private:
    /// False when it is over; else the feed is in use.
    bool Await() {
        ulk::LockGuard lock(m_shared.mutex);
        while (!m_shared.stopping && !(m_shared.enabled && m_shared.published))
            m_shared.changed.wait(lock);
        if (m_shared.abandoned || !m_shared.enabled)
            return false;
        m_shared.published = false;
        m_shared.reading = true;
        m_next = m_shared.next;
        return true;
    }

    /// False when it is over.
    bool Read() noexcept {
        m_items.clear();
        m_leftOut = 0;
        try {
            if (!m_feed.Read(m_next, BatchSize, m_items))
                m_leftOut = m_feed.End().nextSequence - m_next;
        } catch (const std::exception&) { // memory is short; the next event is another chance
            m_items.clear();
        }
        const std::uint64_t taken = m_items.size() + m_leftOut;
        const ulk::LockGuard lock(m_shared.mutex);
        m_shared.reading = false;
        m_shared.changed.notify_all();
        if (m_shared.next != m_next) { // it was switched off and on meanwhile
            m_items.clear();
            m_leftOut = 0;
            return true;
        }
        m_shared.next += taken;
        m_shared.published = m_shared.published || taken > 0;
        return taken > 0 || !m_shared.stopping;
    }

    void Write() noexcept {
        try {
            if (m_leftOut > 0)
                m_log.Write(LOG_WARNING, "The log fell behind; events left out: " + std::to_string(m_leftOut));
        } catch (const std::exception&) { // there is no room to say so
        }
        for (const store::FeedItem& item : m_items) {
            if (!m_shared.IsWanted())
                return;
            try {
                if (item.event->id > 0)
                    m_log.Write(SystemLogPriority(item.event->severity), SystemLogLine(*item.event));
            } catch (const std::exception&) { // this event is left out
            }
        }
    }

    Shared& m_shared;
    store::IEventFeed& m_feed;
    ISystemLog& m_log;
    std::vector<store::FeedItem> m_items;
    std::uint64_t m_next = 0;
    std::uint64_t m_leftOut = 0;
};

SystemLogForwarder::SystemLogForwarder(store::IEventFeed& feed, std::shared_ptr<ISystemLog> log)
    : m_feed(feed), m_log(std::move(log)) {
    m_feed.SetWakeup([shared = m_shared] {
        const ulk::LockGuard lock(shared->mutex);
        shared->published = true;
        shared->changed.notify_all();
    });
    m_thread = std::thread([shared = m_shared, &feed, kept = m_log] { Follower(*shared, feed, *kept).Run(); });
}

SystemLogForwarder::~SystemLogForwarder() { Stop(); }

void SystemLogForwarder::SetEnabled(bool enabled) {
    const std::uint64_t end = m_feed.End().nextSequence;
    const ulk::LockGuard lock(m_shared->mutex);
    if (std::exchange(m_shared->enabled, enabled) == enabled)
        return;
    m_shared->next = end;
    m_shared->changed.notify_all();
}

void SystemLogForwarder::Stop() noexcept {
    if (!m_thread.joinable())
        return;
    m_feed.SetWakeup(nullptr);
    const auto deadline = std::chrono::steady_clock::now() + StopPatience;
    ulk::LockGuard lock(m_shared->mutex);
    m_shared->stopping = true;
    m_shared->changed.notify_all();
    while (!m_shared->ended && std::chrono::steady_clock::now() < deadline)
        m_shared->changed.wait_until(lock, deadline);
    m_shared->abandoned = true;
    while (m_shared->reading)
        m_shared->changed.wait(lock);
    const bool ended = m_shared->ended;
    lock.unlock();
    if (ended)
        m_thread.join();
    else
        m_thread.detach(); // once the log lets it go, it touches nothing but what it shares
}

} // namespace tfs::service::app
