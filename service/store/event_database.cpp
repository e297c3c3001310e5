// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/settings/file_io.h>
#include <service/store/event_database.h>
#include <service/store/id_reserve.h>
#include <service/store/payload_codec.h>

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace tfs::service::store {
namespace {

constexpr std::int64_t SchemaVersion = 1;
/// Ids of one row of the summary: by its least and greatest time a date range finds its ids.
constexpr std::int64_t BlockSize = 1024;

constexpr char Schema[] = R"(
CREATE TABLE IF NOT EXISTS ev(
    id INTEGER PRIMARY KEY, ts INTEGER NOT NULL, etype INTEGER NOT NULL, ttype TEXT NOT NULL, task TEXT NOT NULL,
    sev INTEGER NOT NULL, payload BLOB NOT NULL);
CREATE INDEX IF NOT EXISTS ev_etype ON ev(etype, id);
CREATE INDEX IF NOT EXISTS ev_ttype ON ev(ttype, id);
CREATE INDEX IF NOT EXISTS ev_task ON ev(task, id);
CREATE INDEX IF NOT EXISTS ev_ts ON ev(ts, id);
CREATE TABLE IF NOT EXISTS block(number INTEGER PRIMARY KEY, least INTEGER NOT NULL, greatest INTEGER NOT NULL);
)";

/// Rolls back unless committed.
class Transaction {
public:
    explicit Transaction(Connection& connection) : m_connection(connection) { m_connection.Execute("BEGIN IMMEDIATE"); }
    ~Transaction() {
        if (!m_connection.InTransaction())
            return;
        try {
            m_connection.Execute("ROLLBACK");
        } catch (const SqliteError&) { // the connection is of no use any more; the next statement will say so
        }
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit() { m_connection.Execute("COMMIT"); }

private:
    Connection& m_connection;
};

std::string TextOf(const Event& event, types::AdditionalName::Type name) {
    ulk::types::variant_t value;
    if (!ULK_SUCCEEDED(event.GetAdditionalData(name, value)))
        return {};
    if (const auto* text = value.As<ulk::types::string16_t>())
        return ulk::text::ToUtf8Lossy(*text);
    if (const auto* text = value.As<std::string>())
        return *text;
    return {};
}

/// The greatest id of a file that is damaged somewhere else; 0 where it can't be told.
Event::IdType SalvageGreatestId(const std::string& path) noexcept {
    try {
        Connection connection(path, Connection::Mode::ReadWriteCreate);
        const Event::IdType id = connection.Number("SELECT max(id) FROM ev", 0);
        return id > 0 && id < PlausibleId ? id : 0;
    } catch (const std::exception&) {
        return 0;
    }
}

} // namespace

EventDatabase::EventDatabase(std::string path, std::uint64_t maxEvents)
    : m_path(std::move(path)), m_maxEvents(std::max<std::uint64_t>(maxEvents, 1)) {}

EventDatabase::~EventDatabase() { Close(); }

void EventDatabase::Close() noexcept {
    {
        const ulk::LockGuard lock(m_readMutex);
        m_select = Statement();
        m_reader.Close();
    }
    m_insert = Statement();
    m_summary = Statement();
    m_writer.Close();
}

void EventDatabase::OpenFile() {
    m_writer = Connection(m_path, Connection::Mode::ReadWriteCreate);
    m_writer.Execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA wal_autocheckpoint=1000;"
                     "PRAGMA journal_size_limit=16777216; PRAGMA temp_store=MEMORY; PRAGMA cell_size_check=ON;");
    m_fullSync = false;
    const std::int64_t version = m_writer.Number("PRAGMA user_version", 0);
    if (version != 0 && version != SchemaVersion)
        throw SqliteError(SqliteError::DamageCode, "unknown version of the event database");
    if (const std::string verdict = m_writer.Text("PRAGMA quick_check(1)"); verdict != "ok")
        throw SqliteError(SqliteError::DamageCode, verdict);
    m_writer.Execute(Schema);
    if (m_writer.Number("SELECT max(id) FROM ev", 0) >= PlausibleId)
        throw SqliteError(SqliteError::DamageCode, "the event database holds impossible ids");
    m_writer.Execute("PRAGMA user_version=1");
    m_count = static_cast<std::uint64_t>(m_writer.Number("SELECT count(*) FROM ev", 0));
    // A row under the same id can only be left from a time when ids were lost; the newer event counts.
    m_insert = m_writer.Prepare(
        "INSERT OR REPLACE INTO ev(id, ts, etype, ttype, task, sev, payload) VALUES(?, ?, ?, ?, ?, ?, ?)");
    m_summary = m_writer.Prepare("INSERT INTO block(number, least, greatest) VALUES(?1, ?2, ?3) ON CONFLICT(number) DO "
                                 "UPDATE SET least = min(least, ?2), greatest = max(greatest, ?3)");
    const ulk::LockGuard lock(m_readMutex);
    m_reader = Connection(m_path, Connection::Mode::ReadOnly);
    m_select =
        m_reader.Prepare("SELECT id, ts, etype, sev, payload FROM ev WHERE id > ? AND id <= ? ORDER BY id LIMIT ?");
}

EventDatabase::Opened EventDatabase::Open() {
    try {
        OpenFile();
        return {m_writer.Number("SELECT max(id) FROM ev", 0), {}};
    } catch (const SqliteError& e) {
        Close();
        if (!e.IsDamage())
            throw;
    }
    Opened opened;
    opened.greatestId = std::max(SalvageGreatestId(m_path), ReadReservedIds(m_path));
    // The log and its index belong to the file and must not be replayed into its successor.
    opened.setAside = settings::SetFileAside(m_path);
    if (opened.setAside.empty())
        throw SqliteError(SqliteError::DamageCode, "the damaged event database can't be set aside");
    for (const char* suffix : {"-wal", "-shm"})
        std::rename((m_path + suffix).c_str(), (opened.setAside + suffix).c_str());
    if (opened.greatestId == 0)
        opened.greatestId = TimeBasedId(std::time(nullptr));
    OpenFile();
    return opened;
}

void EventDatabase::Insert(const Event& event) {
    if (!ULK_SUCCEEDED(EncodePayload(event, m_payload))) {
        Event bare = event;
        bare.additional.clear();
        EncodePayload(bare, m_payload);
    }
    m_insert.Reset();
    m_insert.Bind(1, event.id);
    m_insert.Bind(2, event.time);
    m_insert.Bind(3, event.type);
    m_insert.BindText(4, TextOf(event, types::AdditionalName::TaskType));
    m_insert.BindText(5, TextOf(event, types::AdditionalName::TaskName));
    m_insert.Bind(6, event.severity);
    m_insert.BindBlob(7, m_payload);
    m_insert.Step();
}

void EventDatabase::Append(std::span<const std::shared_ptr<const Event>> events, bool durable) {
    if (events.empty())
        return;
    if (durable != m_fullSync) {
        m_writer.Execute(durable ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL");
        m_fullSync = durable;
    }
    const std::uint64_t countBefore = m_count;
    try {
        Transaction transaction(m_writer);
        std::size_t at = 0;
        while (at < events.size()) {
            const std::int64_t block = events[at]->id / BlockSize;
            std::int64_t least = events[at]->time;
            std::int64_t greatest = least;
            for (; at < events.size() && events[at]->id / BlockSize == block; ++at) {
                Insert(*events[at]);
                least = std::min(least, events[at]->time);
                greatest = std::max(greatest, events[at]->time);
            }
            m_summary.Reset();
            m_summary.Bind(1, block);
            m_summary.Bind(2, least);
            m_summary.Bind(3, greatest);
            m_summary.Step();
        }
        m_count += events.size();
        Trim();
        m_insert.Reset();
        m_summary.Reset();
        transaction.Commit();
    } catch (const SqliteError&) {
        m_count = countBefore;
        throw;
    }
}

void EventDatabase::Trim() {
    if (m_count <= m_maxEvents)
        return;
    Statement find = m_writer.Prepare("SELECT id FROM ev ORDER BY id LIMIT 1 OFFSET ?");
    find.Bind(1, static_cast<std::int64_t>(m_count - m_maxEvents));
    if (!find.Step())
        return;
    const std::int64_t firstKept = find.Number(0);
    Statement trim = m_writer.Prepare("DELETE FROM ev WHERE id < ?");
    trim.Bind(1, firstKept);
    trim.Step();
    Statement trimSummary = m_writer.Prepare("DELETE FROM block WHERE number < ?");
    trimSummary.Bind(1, firstKept / BlockSize);
    trimSummary.Step();
    m_count = m_maxEvents;
}

void EventDatabase::Read(Event::IdType afterId, Event::IdType upToId, std::size_t limit, std::vector<Event>& events) {
    const ulk::LockGuard lock(m_readMutex);
    if (!m_reader.IsOpen())
        return;
    m_select.Reset();
    m_select.Bind(1, afterId);
    m_select.Bind(2, upToId);
    m_select.Bind(3, static_cast<std::int64_t>(std::min<std::size_t>(limit, 1u << 30)));
    try {
        while (m_select.Step()) {
            Event event;
            event.id = m_select.Number(0);
            event.time = m_select.Number(1);
            event.type = static_cast<types::EventName::Type>(m_select.Number(2));
            event.severity = static_cast<types::EventSeverity::Type>(m_select.Number(3));
            DecodePayload(m_select.Blob(4), event);
            events.push_back(std::move(event));
        }
    } catch (...) {
        m_select.Reset();
        throw;
    }
    // A statement left open would keep the log from being folded back.
    m_select.Reset();
}

} // namespace tfs::service::store
