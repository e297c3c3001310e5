// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/store/event_schema.h>
#include <service/store/payload_codec.h>

#include <bench/store/filled_store.h>
#include <chrono>
#include <memory>
#include <vector>

namespace tfs::bench {
namespace {

using namespace service::store;
using Clock = std::chrono::steady_clock;

constexpr Event::IdType BatchSize = 1000;
constexpr Event::IdType EventsBetweenRareOnes = 2000;

double Rate(Clock::time_point start) {
    return static_cast<double>(EventCount) / std::chrono::duration<double>(Clock::now() - start).count();
}

} // namespace

Event EventOfId(Event::IdType id) {
    using types::AdditionalName;
    static const ulk::types::string16_t taskTypes[] = {u"ODS", u"OAS", u"Update", u"Backup", u"MemoryScan"};
    const auto number = static_cast<std::uint64_t>(id);
    Event event;
    event.id = id;
    event.type = id % EventsBetweenRareOnes == 0
                     ? RareTypes[id / EventsBetweenRareOnes % 3]
                     : static_cast<types::EventName::Type>(types::EventName::ObjectDeleted + id % 6);
    event.time = FirstTime + id * SecondsBetween;
    event.Add(AdditionalName::FileName, "/home/user/documents/report-" + std::to_string(id) + ".odt");
    event.Add(AdditionalName::ObjectName, std::uint32_t{0});
    event.Add(AdditionalName::Size, number * 17);
    event.Add(AdditionalName::FileOwner, ulk::types::string16_t(u"user"));
    event.Add(AdditionalName::FileOwnerId, std::uint32_t{1000});
    event.Add(AdditionalName::ProcessResult, true);
    event.Add(AdditionalName::TaskName, ulk::types::string16_t(u"Scan_My_Computer"));
    event.Add(AdditionalName::TaskId, number % 40);
    event.Add(AdditionalName::TaskType, taskTypes[number % 5]);
    event.Add(AdditionalName::RuntimeTaskId, number / 1000);
    return event;
}

double FillStore(EventDatabase& database) {
    std::vector<std::shared_ptr<const Event>> all;
    for (Event::IdType id = 1; id <= EventCount; ++id)
        all.push_back(std::make_shared<const Event>(EventOfId(id)));
    const auto start = Clock::now();
    for (Event::IdType id = 0; id < EventCount; id += BatchSize)
        database.Append(std::span(all).subspan(static_cast<std::size_t>(id), BatchSize), false);
    return Rate(start);
}

double FillPlainly(const std::string& path) {
    struct Row {
        RowKeys keys;
        std::string payload;
    };
    std::vector<Row> rows;
    for (Event::IdType id = 1; id <= EventCount; ++id) {
        const Event event = EventOfId(id);
        EncodePayload(event, rows.emplace_back(Row{KeysOf(event), {}}).payload);
    }
    Connection connection(path, Connection::Mode::ReadWriteCreate);
    connection.Execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL");
    connection.Execute(Schema);
    Statement insert = connection.Prepare("INSERT INTO ev VALUES(?, ?, ?, ?, ?, ?, ?)");
    const auto start = Clock::now();
    for (std::size_t at = 0; at < rows.size(); at += BatchSize) {
        connection.Execute("BEGIN");
        for (std::size_t i = at; i < at + BatchSize; ++i) {
            insert.Bind(1, rows[i].keys.id);
            insert.Bind(2, rows[i].keys.time);
            insert.Bind(3, rows[i].keys.type);
            insert.BindText(4, *rows[i].keys.taskType);
            insert.Bind(5, *rows[i].keys.taskId);
            insert.Bind(6, 4);
            insert.BindBlob(7, rows[i].payload);
            insert.Step();
            insert.Reset();
        }
        connection.Execute("COMMIT");
    }
    return Rate(start);
}

} // namespace tfs::bench
