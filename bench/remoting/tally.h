// SPDX-License-Identifier: GPL-2.0-or-later
// Counts what the subscriptions of one measurement get.
#pragma once

#include <contract/tfs/event.h>

#include <bench/remoting/bench_events.h>
#include <future>
#include <stdexcept>
#include <vector>

namespace tfs::bench {

/// Take is called on the loop's thread, the rest by who waits.
class Tally {
public:
    explicit Tally(std::size_t subscribers) : m_last(subscribers, 0) {
        for (std::size_t i = 0; i < subscribers; ++i)
            m_left += PassingFilter(i);
    }
    void Take(std::size_t subscriber, const Event& event) {
        m_inOrder = m_inOrder && event.time > m_last[subscriber];
        m_last[subscriber] = event.time;
        Count();
    }
    /// One that may come in any order.
    void Count() {
        if (--m_left == 0)
            m_done.set_value();
    }
    /// Throws where an event came twice or too late.
    void Wait() {
        m_done.get_future().wait();
        if (!m_inOrder)
            throw std::runtime_error("order");
    }

private:
    std::vector<std::int64_t> m_last;
    std::size_t m_left = 0;
    bool m_inOrder = true;
    std::promise<void> m_done;
};

} // namespace tfs::bench
