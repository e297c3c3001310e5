// SPDX-License-Identifier: GPL-2.0-or-later
// A query's answer, page by page.
#pragma once

#include <contract/tfs/event.h>

#include <cstdint>
#include <vector>

namespace tfs::service::store {

/// Where an answer goes on; a default one is its beginning. It passes through clients, so that nothing in it is
/// trusted.
struct EventCursor {
    Event::IdType lastId = 0; ///< the query has been answered up to this id
    Event::IdType upToId = 0; ///< the newest event when its first page was made; 0 at the beginning
    std::uint32_t toSkip = 0; ///< what is left of the query's offset, but at the beginning
    friend bool operator==(const EventCursor&, const EventCursor&) = default;
};

struct EventPage {
    std::vector<Event> events;
    EventCursor cursor; ///< where the next page begins
    bool more = false;  ///< there may be one, also where this one is empty
};

} // namespace tfs::service::store
