// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/store/event_reader.h>
#include <service/store/payload_codec.h>

#include <algorithm>

namespace tfs::service::store {
namespace {

enum Column { Id, Time, Type, TaskType, TaskId, Severity, Payload };
constexpr char Columns[] = "SELECT id, ts, etype, ttype, task, sev, payload FROM ev ";

/// A statement left open would keep the log from being folded back.
class Resetter {
public:
    explicit Resetter(Statement& statement) noexcept : m_statement(statement) {}
    ~Resetter() { m_statement.Reset(); }
    Resetter(const Resetter&) = delete;
    Resetter& operator=(const Resetter&) = delete;

private:
    Statement& m_statement;
};

Event EventOf(const Statement& row) {
    Event event;
    event.id = row.Number(Id);
    event.time = row.Number(Time);
    event.type = static_cast<types::EventName::Type>(row.Number(Type));
    event.severity = static_cast<types::EventSeverity::Type>(row.Number(Severity));
    DecodePayload(row.Blob(Payload), event);
    return event;
}

} // namespace

EventReader::Snapshot::Snapshot(EventReader& reader) : m_reader(reader) { m_reader.m_connection.Execute("BEGIN"); }

EventReader::Snapshot::~Snapshot() {
    m_reader.m_row.Reset();
    try {
        m_reader.m_connection.Execute("COMMIT");
    } catch (const SqliteError&) { // nothing was written; what is wrong with the connection its next use tells
    }
}

EventReader::EventReader(const std::string& path)
    : m_connection(path, Connection::Mode::ReadOnly), m_greatest(m_connection.Prepare("SELECT max(id) FROM ev")),
      m_rows(m_connection.Prepare(std::string(Columns) + "WHERE id > ? AND id <= ? ORDER BY id LIMIT ?")),
      m_row(m_connection.Prepare(std::string(Columns) + "WHERE id = ?")) {}

Event::IdType EventReader::GreatestId() {
    const Resetter resetter(m_greatest);
    return m_greatest.Step() ? m_greatest.Number(0) : 0;
}

void EventReader::Read(Event::IdType afterId, Event::IdType upToId, std::size_t limit, std::vector<Event>& events) {
    const Resetter resetter(m_rows);
    m_rows.Bind(1, afterId);
    m_rows.Bind(2, upToId);
    m_rows.Bind(3, static_cast<std::int64_t>(std::min<std::size_t>(limit, 1u << 30)));
    while (m_rows.Step())
        events.push_back(EventOf(m_rows));
}

bool EventReader::Seek(Event::IdType id) {
    m_row.Reset();
    m_row.Bind(1, id);
    return m_row.Step();
}

RowKeys EventReader::Keys() const {
    RowKeys keys{m_row.Number(Id), m_row.Number(Time), m_row.Number(Type), {}, {}};
    if (!m_row.IsNull(TaskType))
        keys.taskType.emplace(m_row.Blob(TaskType));
    if (!m_row.IsNull(TaskId))
        keys.taskId = m_row.Number(TaskId);
    return keys;
}

Event EventReader::Current() const { return EventOf(m_row); }

std::size_t EventReader::PayloadSize() const { return m_row.Blob(Payload).size(); }

} // namespace tfs::service::store
