// SPDX-License-Identifier: GPL-2.0-or-later
// Measures the event store's writes and the pages of its queries. Ends with 1 where a goal is missed.
#include <service/store/event_queries.h>
#include <service/store/payload_codec.h>

#include <bench/median.h>
#include <bench/store/filled_store.h>
#include <bench/verdict.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace tfs;
using namespace tfs::bench;
using namespace tfs::service::store;
using ulk::types::string16_t;

constexpr std::uint32_t PageSize = 100;

struct Case {
    const char* name;
    EventQuery query;
    std::string sql; ///< what somebody would write who thinks of no index
    double goal;     ///< our time over that of the SQL, at most
};

std::vector<Case> Cases() {
    const std::string columns = "SELECT id, ts, etype, sev, payload FROM ev ";
    const std::string order = " ORDER BY id DESC LIMIT 100";
    std::vector<Case> cases;
    const auto add = [&](const char* name, std::vector<QueryClause> filters, const std::string& where, double goal,
                         std::uint32_t offset = 0) {
        EventQuery query;
        query.filters = std::move(filters);
        query.limit = PageSize;
        query.offset = offset;
        cases.push_back(
            {name, query, columns + where + order + (offset != 0 ? " OFFSET " + std::to_string(offset) : ""), goal});
    };
    const auto typeClause = [](types::EventName::Type type) {
        return QueryClause{u"EventType", u"==", static_cast<std::uint32_t>(type), u"OR"};
    };
    add("newest", {}, "", 3);
    add("behind an id", {{u"EventId", u"<", std::int64_t{250'000}, u"AND"}}, "WHERE id < 250000", 3);
    add("one type", {typeClause(types::EventName::ObjectDeleted)}, "WHERE etype = 8", 3);
    add("one task", {{u"TaskId", u"==", std::uint64_t{7}, u"OR"}}, "WHERE task = 7", 3);
    add("one task type", {{u"TaskType", u"==", string16_t(u"OAS"), u"OR"}}, "WHERE ttype = 'OAS'", 3);
    add("three rare types", {typeClause(RareTypes[0]), typeClause(RareTypes[1]), typeClause(RareTypes[2])},
        "WHERE etype = 6 OR etype = 57 OR etype = 31", 3);
    add("rare type or task", {typeClause(RareTypes[0]), {u"TaskId", u"==", std::uint64_t{3}, u"OR"}},
        "WHERE etype = 6 OR task = 3", 0.5);
    const std::int64_t from = FirstTime + 100'000 * SecondsBetween;
    const std::int64_t to = from + 86'400;
    add("one day", {{u"Date", u">=", from, u"AND"}, {u"Date", u"<", to, u"AND"}},
        "WHERE ts >= " + std::to_string(from) + " AND ts < " + std::to_string(to), 0.1);
    add("one day, one type",
        {{u"Date", u">=", from, u"AND"}, {u"Date", u"<", to, u"AND"}, typeClause(types::EventName::ObjectDeleted)},
        "WHERE etype = 8 AND ts >= " + std::to_string(from) + " AND ts < " + std::to_string(to), 0.1);
    add("far offset", {}, "", 5, 400'000);
    return cases;
}

bool Compare(EventReaders& readers, Connection& plain, const Case& test) {
    PendingEvents pending;
    pending.lastId = EventCount;
    EventPage page;
    const double ours = MedianMilliseconds(
        [&] { EventQueries(readers, pending).Query(test.query, {}, 1 << 20, std::chrono::seconds(10), page); });
    std::vector<Event> events;
    const double theirs = MedianMilliseconds([&] {
        events.clear();
        Statement statement = plain.Prepare(test.sql);
        while (statement.Step()) {
            Event& event = events.emplace_back();
            event.id = statement.Number(0);
            event.time = statement.Number(1);
            event.type = static_cast<types::EventName::Type>(statement.Number(2));
            DecodePayload(statement.Blob(4), event);
        }
    });
    if (page.events != events)
        throw std::runtime_error(std::string(test.name) + ": the answers differ");
    const double ratio = ours / theirs;
    std::printf("%-18s %8.3f ms, plain SQL %8.3f ms, ratio %6.3f (goal: at most %.1f)\n", test.name, ours, theirs,
                ratio, test.goal);
    return ratio <= test.goal;
}

bool Run(const std::string& folder) {
    EventDatabase database(folder + "/events.db", static_cast<std::uint64_t>(EventCount));
    database.Open();
    const double ours = FillStore(database);
    const double theirs = FillPlainly(folder + "/plain.db");
    std::printf("%-18s %8.0f/s, plain SQL %8.0f/s, ratio %.2f (goal: at least 0.5)\n", "writing", ours, theirs,
                ours / theirs);
    bool good = ours / theirs >= 0.5;
    Connection plain(folder + "/plain.db", Connection::Mode::ReadOnly);
    for (const Case& test : Cases())
        good = Compare(database.Readers(), plain, test) && good;
    return good;
}

} // namespace

int main() {
    try {
        std::string folder = (std::filesystem::temp_directory_path() / "store-bench-XXXXXX").string();
        if (::mkdtemp(folder.data()) == nullptr)
            throw std::runtime_error("mkdtemp");
        const bool good = Run(folder);
        std::filesystem::remove_all(folder);
        return TellVerdict(good);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "store_bench: %s\n", e.what());
        return 1;
    }
}
