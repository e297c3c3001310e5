// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/common/private_folder.h>
#include <platform/key_value_storage/key_value_file.h>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sqlite3.h>
#include <string_view>
#include <unistd.h>

namespace platform::storage {
namespace {

constexpr int kBusyMilliseconds = 1000;
constexpr char kInMemory[] = ":memory:";
constexpr char kPrepare[] =
    "PRAGMA journal_mode=TRUNCATE;"
    "PRAGMA synchronous=NORMAL;"
    "PRAGMA trusted_schema=OFF;"
    "CREATE TABLE IF NOT EXISTS pairs (key BLOB PRIMARY KEY, value BLOB NOT NULL) WITHOUT ROWID;";

bool IsDamage(int code) {
    const int primary = code & 0xFF;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

result_t ResultOf(int code) {
    switch (code & 0xFF) {
    case SQLITE_OK:
    case SQLITE_DONE:
    case SQLITE_ROW:
        return ulk::sOk;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return ulk::eLocked;
    case SQLITE_NOMEM:
        return ulk::eOutOfMemory;
    case SQLITE_TOOBIG:
        return ulk::eInvalidSize;
    case SQLITE_FULL:
        return ulk::eInsufficientResources;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return ulk::eAccessDenied;
    default:
        return ulk::eUnspecified;
    }
}

/// SQLite would create the file with the mode of the umask and would follow a link.
result_t CreateOwnFile(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (fd < 0)
        return errno == ELOOP ? ulk::eAccessDenied : ulk::ResultFromErrno(errno);
    ::close(fd);
    return CheckOwnFile(path);
}

result_t SetAside(const std::string& path) {
    if (::rename(path.c_str(), (path + ".bad").c_str()) != 0)
        return ulk::ResultFromErrno(errno);
    // A journal that belongs to the damaged file must not be played into the new one.
    ::unlink((path + "-journal").c_str());
    ::unlink((path + "-wal").c_str());
    ::unlink((path + "-shm").c_str());
    return ulk::sOk;
}

} // namespace

class KeyValueFile::Statement {
public:
    Statement(sqlite3* database, std::string_view sql) {
        m_code = sqlite3_prepare_v2(database, sql.data(), static_cast<int>(sql.size()), &m_statement, nullptr);
    }
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void Bind(int index, const std::string& value) {
        if (m_code == SQLITE_OK)
            m_code = sqlite3_bind_blob64(m_statement, index, value.data(), value.size(), SQLITE_STATIC);
    }
    int Step() { return m_code == SQLITE_OK ? sqlite3_step(m_statement) : m_code; }
    std::string Column() const {
        const void* data = sqlite3_column_blob(m_statement, 0);
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement, 0));
        return data != nullptr ? std::string(static_cast<const char*>(data), size) : std::string();
    }

private:
    sqlite3_stmt* m_statement = nullptr;
    int m_code = SQLITE_OK;
};

KeyValueFile::~KeyValueFile() { Close(); }

result_t KeyValueFile::Open(const std::string& path) {
    const ulk::LockGuard lock(m_mutex);
    CloseDatabase();
    if (path.empty())
        return OpenDatabase(kInMemory);
    if (path.front() != '/' || path.find('\0') != std::string::npos)
        return ulk::eInvalidArgument;
    if (const result_t result = EnsurePrivateFolder(path.substr(0, path.rfind('/') + 1)); ULK_FAILED(result))
        return result;
    if (const result_t result = CreateOwnFile(path); ULK_FAILED(result))
        return result;
    return OpenDatabase(path);
}

result_t KeyValueFile::OpenDatabase(const std::string& name) {
    int code = Prepare(name);
    if (IsDamage(code) && name != kInMemory) {
        if (const result_t result = SetAside(name); ULK_FAILED(result))
            return result;
        if (const result_t result = CreateOwnFile(name); ULK_FAILED(result))
            return result;
        code = Prepare(name);
    }
    return ResultOf(code);
}

/// Opens the database and leaves it open only if it is sound.
int KeyValueFile::Prepare(const std::string& name) {
    int code = sqlite3_open_v2(name.c_str(), &m_database,
                               SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE, nullptr);
    if (code == SQLITE_OK) {
        sqlite3_busy_timeout(m_database, kBusyMilliseconds);
        code = sqlite3_exec(m_database, kPrepare, nullptr, nullptr, nullptr);
    }
    if (code == SQLITE_OK) {
        Statement check(m_database, "PRAGMA quick_check(1)");
        const int step = check.Step();
        if (step != SQLITE_ROW)
            code = step == SQLITE_DONE ? SQLITE_CORRUPT : step;
        else if (check.Column() != "ok")
            code = SQLITE_CORRUPT;
    }
    if (code == SQLITE_OK) {
        // A sound database of another shape is no use to us either.
        Statement probe(m_database, "SELECT value FROM pairs WHERE key = x'' LIMIT 1");
        const int step = probe.Step();
        if (step != SQLITE_ROW && step != SQLITE_DONE)
            code = step == SQLITE_ERROR ? SQLITE_CORRUPT : step;
    }
    if (code != SQLITE_OK)
        CloseDatabase();
    return code;
}

void KeyValueFile::CloseDatabase() {
    sqlite3_close_v2(m_database);
    m_database = nullptr;
}

void KeyValueFile::Close() {
    const ulk::LockGuard lock(m_mutex);
    CloseDatabase();
}

result_t KeyValueFile::Get(const std::string& key, std::string& value) {
    const ulk::LockGuard lock(m_mutex);
    if (m_database == nullptr)
        return ulk::eNotInitialized;
    Statement select(m_database, "SELECT value FROM pairs WHERE key = ?1");
    select.Bind(1, key);
    const int code = select.Step();
    if (code == SQLITE_DONE)
        return ulk::eNotFound;
    if (code != SQLITE_ROW)
        return ResultOf(code);
    value = select.Column();
    return ulk::sOk;
}

result_t KeyValueFile::Set(const std::string& key, const std::string& value) {
    const ulk::LockGuard lock(m_mutex);
    if (m_database == nullptr)
        return ulk::eNotInitialized;
    Statement insert(m_database, "INSERT INTO pairs (key, value) VALUES (?1, ?2) "
                                 "ON CONFLICT (key) DO UPDATE SET value = excluded.value");
    insert.Bind(1, key);
    insert.Bind(2, value);
    return ResultOf(insert.Step());
}

result_t KeyValueFile::Remove(const std::string& key) {
    const ulk::LockGuard lock(m_mutex);
    if (m_database == nullptr)
        return ulk::eNotInitialized;
    Statement remove(m_database, "DELETE FROM pairs WHERE key = ?1");
    remove.Bind(1, key);
    if (const result_t result = ResultOf(remove.Step()); ULK_FAILED(result))
        return result;
    return sqlite3_changes(m_database) > 0 ? ulk::sOk : ulk::eNotFound;
}

} // namespace platform::storage
