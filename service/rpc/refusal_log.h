// SPDX-License-Identifier: GPL-2.0-or-later
// What the trace says of refused connections: one line for each user and second, however many there are.
#pragma once

#include <foundation/trace.h>

#include <cstdint>
#include <map>
#include <sys/types.h>

namespace tfs::service::rpc {

/// On the loop's thread. The owner ends a round once a second as long as EndRound says so.
class RefusalLog {
public:
    /// `tracer` may be null.
    explicit RefusalLog(ulk::ITracer* tracer) : m_tracer(tracer) {}

    /// Tells of a user's first refusal at once and counts those that follow. True where a round begins with it.
    bool Note(uid_t uid, pid_t pid);
    /// Tells what was counted for at least a second. False when there is nothing left to count.
    bool EndRound();

private:
    struct Entry {
        std::uint64_t untold = 0;
        bool isFresh = true; ///< its line is younger than a round
    };

    ulk::ITracer* const m_tracer;
    std::map<uid_t, Entry> m_users;
    std::uint64_t m_ofOthers = 0; ///< refusals of users for whom there was no room in the map
};

} // namespace tfs::service::rpc
