// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/storage/object_index.h>

#include <algorithm>
#include <map>

namespace tfs::service::storage {
namespace {

using store::Connection;
using store::SqliteError;
using store::Statement;
using store::Transaction;

constexpr std::int64_t SchemaVersion = 1;
constexpr char Schema[] =
    "CREATE TABLE IF NOT EXISTS object(id INTEGER PRIMARY KEY AUTOINCREMENT, state INTEGER NOT NULL, path BLOB NOT "
    "NULL,"
    " detect BLOB NOT NULL, danger INTEGER NOT NULL, added INTEGER NOT NULL, announced INTEGER NOT NULL,"
    " owner INTEGER NOT NULL, device INTEGER NOT NULL, inode INTEGER NOT NULL, size INTEGER NOT NULL,"
    " modified INTEGER NOT NULL, modified_ns INTEGER NOT NULL, changed INTEGER NOT NULL, changed_ns INTEGER NOT NULL,"
    " digest BLOB NOT NULL);"
    "CREATE TABLE IF NOT EXISTS name(object INTEGER NOT NULL, path BLOB NOT NULL);"
    "CREATE INDEX IF NOT EXISTS name_object ON name(object);";
constexpr char Columns[] = "id, state, path, detect, danger, added, announced, owner, device, inode, size, modified, "
                           "modified_ns, changed, changed_ns, digest";

std::int64_t Signed(std::uint64_t value) noexcept { return static_cast<std::int64_t>(value); }

std::uint64_t Unsigned(std::int64_t value) noexcept { return static_cast<std::uint64_t>(value); }

ObjectRecord RecordIn(const Statement& row) {
    ObjectRecord record;
    record.id = Unsigned(row.Number(0));
    const std::int64_t state = row.Number(1);
    const std::string_view digest = row.Blob(15);
    if (state < 0 || state > static_cast<std::int64_t>(ObjectState::Leaving) || digest.size() != record.digest.size())
        throw SqliteError(SqliteError::DamageCode, "a row of Storage's database is damaged");
    record.state = static_cast<ObjectState>(state);
    record.path = row.Blob(2);
    record.detectName = row.Blob(3);
    record.dangerLevel = static_cast<std::uint32_t>(row.Number(4));
    record.addedTime = row.Number(5);
    record.announcedTime = row.Number(6);
    record.ownerUid = static_cast<std::uint32_t>(row.Number(7));
    record.identity = {Unsigned(row.Number(8)),
                       Unsigned(row.Number(9)),
                       Unsigned(row.Number(10)),
                       {row.Number(11), row.Number(12)},
                       {row.Number(13), row.Number(14)}};
    std::copy(digest.begin(), digest.end(), record.digest.begin());
    return record;
}

} // namespace

void ObjectIndex::OpenFile() {
    m_connection = Connection(m_path, Connection::Mode::ReadWriteCreate);
    m_connection.Execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA journal_size_limit=1048576;"
                         "PRAGMA temp_store=MEMORY; PRAGMA cell_size_check=ON;");
    const std::int64_t version = m_connection.Number("PRAGMA user_version", 0);
    if (version != 0 && version != SchemaVersion)
        throw SqliteError(SqliteError::DamageCode, "unknown version of Storage's database");
    if (const std::string verdict = m_connection.Text("PRAGMA quick_check(1)"); verdict != "ok")
        throw SqliteError(SqliteError::DamageCode, verdict);
    Transaction transaction(m_connection);
    m_connection.Execute(Schema);
    m_connection.Execute(("PRAGMA user_version=" + std::to_string(SchemaVersion)).c_str());
    transaction.Commit();
    (void)Load(); // what can't be read is found now
}

std::string ObjectIndex::Open() {
    try {
        OpenFile();
        return {};
    } catch (const SqliteError& e) {
        Close();
        if (!e.IsDamage())
            throw;
    }
    const std::string aside = store::SetDatabaseAside(m_path);
    OpenFile();
    return aside;
}

void ObjectIndex::Close() noexcept { m_connection.Close(); }

std::vector<ObjectRecord> ObjectIndex::Load() {
    std::map<BackupId, std::vector<std::string>> names;
    Statement eachName = m_connection.Prepare("SELECT object, path FROM name ORDER BY rowid");
    while (eachName.Step())
        names[Unsigned(eachName.Number(0))].emplace_back(eachName.Blob(1));
    std::vector<ObjectRecord> records;
    Statement each = m_connection.Prepare(std::string("SELECT ") + Columns + " FROM object ORDER BY id");
    while (each.Step()) {
        records.push_back(RecordIn(each));
        if (const auto found = names.find(records.back().id); found != names.end())
            records.back().otherNames = std::move(found->second);
    }
    return records;
}

BackupId ObjectIndex::GreatestId() {
    const auto greatest = m_connection.Number("SELECT max(id) FROM object", 0);
    return Unsigned(std::max(greatest, m_connection.Number("SELECT seq FROM sqlite_sequence WHERE name='object'", 0)));
}

void ObjectIndex::Insert(const ObjectRecord& record) {
    Transaction transaction(m_connection);
    Statement insert = m_connection.Prepare(std::string("INSERT INTO object(") + Columns +
                                            ") VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    int column = 0;
    insert.Bind(++column, Signed(record.id));
    insert.Bind(++column, static_cast<std::int64_t>(record.state));
    insert.BindBlob(++column, record.path);
    insert.BindBlob(++column, record.detectName);
    for (const std::int64_t number :
         {static_cast<std::int64_t>(record.dangerLevel), record.addedTime, record.announcedTime,
          static_cast<std::int64_t>(record.ownerUid), Signed(record.identity.device), Signed(record.identity.inode),
          Signed(record.identity.size), record.identity.modified.seconds, record.identity.modified.nanoseconds,
          record.identity.changed.seconds, record.identity.changed.nanoseconds})
        insert.Bind(++column, number);
    insert.BindBlob(++column, {reinterpret_cast<const char*>(record.digest.data()), record.digest.size()});
    insert.Step();
    insert.Reset();
    transaction.Commit();
}

void ObjectIndex::SetNumber(const char* sql, std::int64_t value, std::span<const BackupId> ids) {
    Statement update = m_connection.Prepare(sql);
    for (const BackupId id : ids) {
        update.Bind(1, value);
        update.Bind(2, Signed(id));
        update.Step();
        update.Reset();
    }
}

void ObjectIndex::WriteChanged(const ObjectRecord& record) {
    const BackupId ids[] = {record.id};
    SetNumber("UPDATE object SET changed=? WHERE id=?", record.identity.changed.seconds, ids);
    SetNumber("UPDATE object SET changed_ns=? WHERE id=?", record.identity.changed.nanoseconds, ids);
}

void ObjectIndex::Settle(const ObjectRecord& record, std::span<const BackupId> replaced) {
    Transaction transaction(m_connection);
    const BackupId ids[] = {record.id};
    SetNumber("UPDATE object SET state=? WHERE id=?", static_cast<std::int64_t>(ObjectState::Kept), ids);
    WriteChanged(record);
    SetNumber("UPDATE object SET state=? WHERE id=?", static_cast<std::int64_t>(ObjectState::Leaving), replaced);
    transaction.Commit();
}

void ObjectIndex::AddName(const ObjectRecord& record, const std::string& name) {
    Transaction transaction(m_connection);
    Statement insert = m_connection.Prepare("INSERT INTO name(object, path) VALUES(?, ?)");
    insert.Bind(1, Signed(record.id));
    insert.BindBlob(2, name);
    insert.Step();
    insert.Reset();
    WriteChanged(record);
    transaction.Commit();
}

void ObjectIndex::MarkLeaving(std::span<const BackupId> ids) {
    Transaction transaction(m_connection);
    SetNumber("UPDATE object SET state=? WHERE id=?", static_cast<std::int64_t>(ObjectState::Leaving), ids);
    transaction.Commit();
}

void ObjectIndex::SetAnnounced(std::span<const BackupId> ids, std::int64_t time) {
    Transaction transaction(m_connection);
    SetNumber("UPDATE object SET announced=? WHERE id=?", time, ids);
    transaction.Commit();
}

void ObjectIndex::Erase(std::span<const BackupId> ids) {
    Transaction transaction(m_connection);
    SetNumber("DELETE FROM object WHERE ?1 = 0 AND id=?2", 0, ids);
    SetNumber("DELETE FROM name WHERE ?1 = 0 AND object=?2", 0, ids);
    transaction.Commit();
}

} // namespace tfs::service::storage
