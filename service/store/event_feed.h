// SPDX-License-Identifier: GPL-2.0-or-later
// The service's events as a log that many readers follow, each at its own pace.
#pragma once

#include <contract/tfs/event.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace tfs::service::store {

/// Where areas hand their events in. Any thread, no lock held over a call.
class IEventPublisher {
public:
    virtual ~IEventPublisher() = default;
    /// Stores the event, which gives it its id, and puts it into the feed. Order of ids is order of delivery.
    virtual void Publish(Event event) noexcept = 0;
    /// As Publish for each, in order, but waits once for all.
    virtual void PublishAll(std::vector<Event> events) noexcept {
        for (Event& event : events)
            Publish(std::move(event));
    }
    /// Puts the event into the feed without storing it (progress); its id stays 0.
    virtual void PublishTransient(Event event) noexcept = 0;
};

/// One published event; `sequence` counts stored and transient ones alike since the service's start.
struct FeedItem {
    std::uint64_t sequence = 0;
    std::shared_ptr<const Event> event;
};

/// The end of the feed at one moment, taken together.
struct FeedPosition {
    std::uint64_t nextSequence = 0; ///< of the next event to be published
    Event::IdType lastStoredId = 0; ///< of the newest stored event; 0 where there is none
};

/// The reading side: a bounded ring in memory, and the store behind it for those who fell out of the ring. Memory
/// doesn't depend on the readers. All operations may be called from any thread.
class IEventFeed {
public:
    virtual ~IEventFeed() = default;
    virtual FeedPosition End() const noexcept = 0;
    /// Copies at most `limit` items from `sequence` on. False when `sequence` has left the ring: the reader takes
    /// End(), reads from the store what it missed up to lastStoredId, and goes on at nextSequence.
    virtual bool Read(std::uint64_t sequence, std::size_t limit, std::vector<FeedItem>& items) const = 0;
    /// Stored events with afterId < id <= upToId, ascending, at most `limit`. Includes what is not yet on disk.
    /// Blocking: touches the disk.
    virtual result_t ReadStored(Event::IdType afterId, Event::IdType upToId, std::size_t limit,
                                std::vector<Event>& events) = 0;
    /// `wakeup` is called on the publisher's thread after each publication, without a lock; it must not block.
    /// Null takes it away; when the call returns the old one isn't running any more.
    virtual void SetWakeup(std::function<void()> wakeup) = 0;
};

} // namespace tfs::service::store
