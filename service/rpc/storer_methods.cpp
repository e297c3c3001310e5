// SPDX-License-Identifier: GPL-2.0-or-later
// Questions to the event store, open to everybody; IBlockingApi knows whether the settings keep reports for root.
#include <service/rpc/objects.h>
#include <wire/event_records.h>

#include <algorithm>

namespace tfs::service::rpc {
namespace {

using Schema = wire::schema::EventStorer;

/// Of one page, as the store counts. Far below what a client takes, so that its conversion doesn't hold the loop up.
constexpr std::size_t PageBytes = 1024 * 1024;
constexpr std::uint32_t PageEvents = 4096;
constexpr std::size_t MessageBytes = wire::ReplySizeLimit / 2;

/// An event that no message could carry is told without its additional data, so that it is missing in no answer.
/// Returns its size in a message.
std::size_t MakeSendable(Event& event) {
    const std::size_t size = wire::EstimateSize(event);
    if (size <= MessageBytes)
        return size;
    event.additional.clear();
    return wire::EstimateSize(event);
}

/// Ends the page where a message would.
void FitIntoMessage(store::EventPage& page) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < page.events.size(); ++i) {
        size += MakeSendable(page.events[i]);
        if (i == 0 || size <= MessageBytes)
            continue;
        page.events.resize(i);
        page.cursor.lastId = page.events.back().id;
        page.more = true;
        return;
    }
}

struct GetEventCountCall {
    using Params = Schema::GetEventCountParams;
    using Results = Schema::GetEventCountResults;

    void Read(Params::Reader) {}
    result_t Run(IBlockingApi& api, const Caller& caller) { return api.GetEventCount(caller, m_count); }
    void Write(result_t, Results::Builder results) const { results.setCount(m_count); }

private:
    std::uint64_t m_count = 0;
};

struct GetOldestEventCall {
    using Params = Schema::GetOldestEventParams;
    using Results = Schema::GetOldestEventResults;

    void Read(Params::Reader) {}
    result_t Run(IBlockingApi& api, const Caller& caller) {
        const result_t result = api.GetOldestEvent(caller, m_event);
        MakeSendable(m_event);
        return result;
    }
    void Write(result_t code, Results::Builder results) const {
        if (ULK_SUCCEEDED(code))
            wire::Write(m_event, results.initEvent());
    }

private:
    Event m_event;
};

struct GetEventCall {
    using Params = Schema::GetEventParams;
    using Results = Schema::GetEventResults;

    void Read(Params::Reader params) { m_id = params.getId(); }
    result_t Run(IBlockingApi& api, const Caller& caller) {
        const result_t result = api.GetEvent(caller, m_id, m_event);
        MakeSendable(m_event);
        return result;
    }
    void Write(result_t code, Results::Builder results) const {
        if (ULK_SUCCEEDED(code))
            wire::Write(m_event, results.initEvent());
    }

private:
    Event::IdType m_id = 0;
    Event m_event;
};

struct QueryEventsCall {
    using Params = Schema::QueryEventsParams;
    using Results = Schema::QueryEventsResults;

    void Read(Params::Reader params) {
        wire::Read(params.getQuery(), m_query);
        m_query.limit = std::min(m_query.limit, PageEvents);
        const auto cursor = params.getCursor();
        m_cursor = {cursor.getLastId(), cursor.getUpToId(), cursor.getToSkip()};
    }
    result_t Run(IBlockingApi& api, const Caller& caller) {
        const result_t result = api.QueryEvents(caller, m_query, m_cursor, PageBytes, m_page);
        FitIntoMessage(m_page);
        return result;
    }
    void Write(result_t code, Results::Builder results) const {
        if (!ULK_SUCCEEDED(code))
            return;
        wire::WriteList(m_page.events, results.initEvents(static_cast<capnp::uint>(m_page.events.size())));
        auto cursor = results.initCursor();
        cursor.setLastId(m_page.cursor.lastId);
        cursor.setUpToId(m_page.cursor.upToId);
        cursor.setToSkip(m_page.cursor.toSkip);
        results.setMore(m_page.more);
    }

private:
    EventQuery m_query;
    store::EventCursor m_cursor;
    store::EventPage m_page;
};

} // namespace

std::span<const Method> EventStorerObject::Methods() noexcept {
    static constexpr Method Table[] = {
        Method::Blocking<Schema, GetEventCountCall>(0, "getEventCount", Privilege::Anyone),
        Method::Blocking<Schema, GetOldestEventCall>(1, "getOldestEvent", Privilege::Anyone),
        Method::Blocking<Schema, GetEventCall>(2, "getEvent", Privilege::Anyone),
        Method::Blocking<Schema, QueryEventsCall>(3, "queryEvents", Privilege::Anyone),
    };
    return Table;
}

} // namespace tfs::service::rpc
