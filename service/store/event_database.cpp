// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/store/event_database.h>
#include <service/store/event_schema.h>
#include <service/store/id_reserve.h>
#include <service/store/payload_codec.h>
#include <service/store/row_keys.h>

#include <algorithm>
#include <ctime>

namespace tfs::service::store {
namespace {

/// Rows that go in one transaction at most, so that nothing written waits long behind a limit that was lowered.
constexpr std::int64_t TrimStep = 4096;

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
    : m_path(std::move(path)), m_maxEvents(std::max<std::uint64_t>(maxEvents, 1)), m_readers(m_path) {}

EventDatabase::~EventDatabase() { Close(); }

void EventDatabase::SetMaxEvents(std::uint64_t maxEvents) noexcept {
    m_maxEvents = std::max<std::uint64_t>(maxEvents, 1);
}

void EventDatabase::Close() noexcept {
    m_readers.Close();
    m_count = 0;
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
    m_writer.Execute(("PRAGMA user_version=" + std::to_string(SchemaVersion)).c_str());
    m_count = static_cast<std::uint64_t>(m_writer.Number("SELECT count(*) FROM ev", 0));
    // A row under the same id can only be left from a time when ids were lost; the newer event counts.
    m_insert = m_writer.Prepare(
        "INSERT OR REPLACE INTO ev(id, ts, etype, ttype, task, sev, payload) VALUES(?, ?, ?, ?, ?, ?, ?)");
    m_summary = m_writer.Prepare("INSERT INTO block(number, least, greatest) VALUES(?1, ?2, ?3) ON CONFLICT(number) DO "
                                 "UPDATE SET least = min(least, ?2), greatest = max(greatest, ?3)");
    m_readers.Open();
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
    opened.setAside = SetDatabaseAside(m_path);
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
    const RowKeys keys = KeysOf(event);
    m_insert.Reset();
    m_insert.Bind(1, keys.id);
    m_insert.Bind(2, keys.time);
    m_insert.Bind(3, keys.type);
    if (keys.taskType)
        m_insert.BindText(4, *keys.taskType);
    else
        m_insert.BindNull(4);
    if (keys.taskId)
        m_insert.Bind(5, *keys.taskId);
    else
        m_insert.BindNull(5);
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
        TrimRows();
        m_insert.Reset();
        m_summary.Reset();
        transaction.Commit();
    } catch (const SqliteError&) {
        m_count = countBefore;
        throw;
    }
}

void EventDatabase::TrimRows() {
    const std::uint64_t maxEvents = m_maxEvents.load();
    if (m_count <= maxEvents)
        return;
    const std::int64_t excess = std::min(static_cast<std::int64_t>(m_count - maxEvents), TrimStep);
    Statement find = m_writer.Prepare("SELECT id FROM ev ORDER BY id LIMIT 1 OFFSET ?");
    find.Bind(1, excess);
    if (!find.Step())
        return;
    const std::int64_t firstKept = find.Number(0);
    Statement trim = m_writer.Prepare("DELETE FROM ev WHERE id < ?");
    trim.Bind(1, firstKept);
    trim.Step();
    Statement trimSummary = m_writer.Prepare("DELETE FROM block WHERE number < ?");
    trimSummary.Bind(1, firstKept / BlockSize);
    trimSummary.Step();
    m_count -= static_cast<std::uint64_t>(excess);
}

void EventDatabase::Trim() {
    if (!HasTooMany())
        return;
    const std::uint64_t countBefore = m_count;
    try {
        Transaction transaction(m_writer);
        TrimRows();
        transaction.Commit();
    } catch (const SqliteError&) {
        m_count = countBefore;
        throw;
    }
}

} // namespace tfs::service::store
