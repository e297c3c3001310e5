// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/remoting/proxies.h>
#include <wire/event_records.h>

#include <iterator>
#include <utility>

namespace ulk::remoting {

struct EventStorerProxy::Cursor {
    tfs::Event::IdType lastId = 0;
    tfs::Event::IdType upToId = 0;
    std::uint32_t toSkip = 0;
    friend bool operator==(const Cursor&, const Cursor&) = default;
};

struct EventStorerProxy::Page {
    types::vector_t<tfs::Event> events;
    Cursor cursor;
    bool more = false;
};

result_t EventStorerProxy::GetEventCount(std::uint64_t& count) {
    return Call(
        count, [](auto& client) { return client.getEventCountRequest(); },
        [](auto& answer, std::uint64_t& value) { value = answer.getCount(); });
}

result_t EventStorerProxy::GetOldestEvent(tfs::Event& event) {
    return Call(
        event, [](auto& client) { return client.getOldestEventRequest(); },
        [](auto& answer, tfs::Event& record) { tfs::wire::Read(answer.getEvent(), record); });
}

result_t EventStorerProxy::GetEvent(tfs::Event::IdType id, tfs::Event& event) {
    return Call(
        event,
        [id](auto& client) {
            auto request = client.getEventRequest();
            request.setId(id);
            return request;
        },
        [](auto& answer, tfs::Event& record) { tfs::wire::Read(answer.getEvent(), record); });
}

result_t EventStorerProxy::QueryPage(const tfs::EventQuery& query, Page& page) {
    return Call(
        page,
        [query = query, cursor = page.cursor](auto& client) {
            auto request = client.queryEventsRequest();
            tfs::wire::Write(query, request.initQuery());
            auto from = request.initCursor();
            from.setLastId(cursor.lastId);
            from.setUpToId(cursor.upToId);
            from.setToSkip(cursor.toSkip);
            return request;
        },
        [](auto& answer, Page& record) {
            tfs::wire::ReadList(answer.getEvents(), record.events);
            const auto behind = answer.getCursor();
            record.cursor = {behind.getLastId(), behind.getUpToId(), behind.getToSkip()};
            record.more = answer.getMore();
        });
}

result_t EventStorerProxy::QueryEvents(const tfs::EventQuery& query, types::vector_t<tfs::Event>& events) {
    try {
        tfs::EventQuery rest = query;
        types::vector_t<tfs::Event> all;
        Page page;
        do {
            const Cursor from = page.cursor;
            if (const result_t result = QueryPage(rest, page); !ULK_SUCCEEDED(result))
                return result;
            if (page.events.size() > rest.limit || (page.more && page.cursor == from))
                return eUnexpected; // it would never end
            rest.limit -= static_cast<std::uint32_t>(page.events.size());
            std::move(page.events.begin(), page.events.end(), std::back_inserter(all));
        } while (page.more && rest.limit > 0);
        events = std::move(all);
        return sOk;
    } catch (...) {
        return tfs::wire::ResultFromCurrentException();
    }
}

} // namespace ulk::remoting
