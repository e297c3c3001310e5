// SPDX-License-Identifier: GPL-2.0-or-later
// One call between the thread that waits for it and the loop that makes it.
#pragma once

#include <foundation/result.h>
#include <foundation/sync.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace ulk::remoting {

/// Plain data on both sides; shared by the caller and the loop, so that neither outlives it.
template <class Record>
class PendingCall {
public:
    /// The first completion counts. Without a value the caller's record stays as it is.
    void Complete(result_t code, std::optional<Record>&& value) {
        {
            LockGuard lock(m_mutex);
            if (m_done)
                return;
            m_done = true;
            m_code = code;
            m_value = std::move(value);
        }
        m_ready.notify_one();
    }

    /// eTimeout when the deadline has passed; a completion after it is lost. Fills `out` where there is a value.
    result_t Wait(std::chrono::steady_clock::time_point deadline, Record& out) {
        LockGuard lock(m_mutex);
        while (!m_done)
            if (m_ready.wait_until(lock, deadline) == std::cv_status::timeout && !m_done) {
                m_done = true;
                return eTimeout;
            }
        if (m_value)
            out = std::move(*m_value);
        return m_code;
    }

private:
    Mutex m_mutex;
    std::condition_variable_any m_ready;
    bool m_done ULK_GUARDED_BY(m_mutex) = false;
    result_t m_code ULK_GUARDED_BY(m_mutex) = eNotReady;
    std::optional<Record> m_value ULK_GUARDED_BY(m_mutex);
};

/// The loop's end of a call. A ticket that goes without an answer answers eNotReady: that is how everything under way
/// fails when the connection ends, wherever it stands.
template <class Record>
class CallTicket {
public:
    CallTicket(std::shared_ptr<PendingCall<Record>> call, std::shared_ptr<void> place)
        : m_call(std::move(call)), m_place(std::move(place)) {}
    ~CallTicket() { Answer(eNotReady); }
    CallTicket(const CallTicket&) = delete;
    CallTicket& operator=(const CallTicket&) = delete;

    void Answer(result_t code, std::optional<Record> value = std::nullopt) {
        m_place.reset();
        if (const auto call = std::exchange(m_call, nullptr))
            call->Complete(code, std::move(value));
    }

private:
    std::shared_ptr<PendingCall<Record>> m_call;
    std::shared_ptr<void> m_place; ///< counted against the calls in flight
};

/// For calls that yield a code alone.
struct Nothing {};

/// For which codes of the service an answer's payload is read.
enum class Payload {
    OfGoodCode,
    OfEveryCode,
};

} // namespace ulk::remoting
