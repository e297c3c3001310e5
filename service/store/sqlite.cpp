// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/settings/file_io.h>
#include <service/store/sqlite.h>

#include <cstdio>
#include <sqlite3.h>

namespace tfs::service::store {
namespace {

constexpr int BusyTimeoutMs = 2000;

static_assert(SqliteError::DamageCode == SQLITE_CORRUPT);

[[noreturn]] void Throw(sqlite3* handle, int code) {
    throw SqliteError(code, handle != nullptr ? sqlite3_errmsg(handle) : sqlite3_errstr(code));
}

} // namespace

bool SqliteError::IsDamage() const noexcept {
    const int primary = m_code & 0xFF;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

bool SqliteError::IsFull() const noexcept { return (m_code & 0xFF) == SQLITE_FULL; }

bool SqliteError::IsReadOnly() const noexcept { return (m_code & 0xFF) == SQLITE_READONLY; }

void Connection::Closer::operator()(sqlite3* handle) const noexcept { sqlite3_close_v2(handle); }

Connection::Connection(const std::string& path, Mode mode) {
    const int flags = (mode == Mode::ReadOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE) |
                      SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    sqlite3* handle = nullptr;
    const int code = sqlite3_open_v2(path.c_str(), &handle, flags, nullptr);
    m_handle.reset(handle);
    if (code != SQLITE_OK)
        Throw(handle, code);
    sqlite3_busy_timeout(handle, BusyTimeoutMs);
}

void Connection::Execute(const char* sql) {
    const int code = sqlite3_exec(m_handle.get(), sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        Throw(m_handle.get(), code);
}

std::int64_t Connection::Number(const char* sql, std::int64_t otherwise) {
    Statement statement = Prepare(sql);
    if (!statement.Step() || sqlite3_column_type(statement.m_statement.get(), 0) == SQLITE_NULL)
        return otherwise;
    return statement.Number(0);
}

std::string Connection::Text(const char* sql) {
    Statement statement = Prepare(sql);
    return statement.Step() ? std::string(statement.Blob(0)) : std::string();
}

Statement Connection::Prepare(std::string_view sql) {
    sqlite3_stmt* statement = nullptr;
    const int code =
        sqlite3_prepare_v3(m_handle.get(), sql.data(), static_cast<int>(sql.size()), 0, &statement, nullptr);
    if (code != SQLITE_OK)
        Throw(m_handle.get(), code);
    return Statement(statement);
}

bool Connection::InTransaction() const noexcept {
    return m_handle != nullptr && sqlite3_get_autocommit(m_handle.get()) == 0;
}

void Statement::Finalizer::operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }

void Statement::Check(int code) {
    if (code != SQLITE_OK)
        Throw(sqlite3_db_handle(m_statement.get()), code);
}

void Statement::Bind(int index, std::int64_t value) { Check(sqlite3_bind_int64(m_statement.get(), index, value)); }

void Statement::BindText(int index, std::string_view value) {
    Check(sqlite3_bind_text64(m_statement.get(), index, value.data() != nullptr ? value.data() : "", value.size(),
                              SQLITE_TRANSIENT, SQLITE_UTF8));
}

void Statement::BindBlob(int index, std::string_view value) {
    Check(sqlite3_bind_blob64(m_statement.get(), index, value.data() != nullptr ? value.data() : "", value.size(),
                              SQLITE_TRANSIENT));
}

void Statement::BindNull(int index) { Check(sqlite3_bind_null(m_statement.get(), index)); }

bool Statement::Step() {
    const int code = sqlite3_step(m_statement.get());
    if (code == SQLITE_ROW)
        return true;
    if (code == SQLITE_DONE)
        return false;
    sqlite3* handle = sqlite3_db_handle(m_statement.get());
    const SqliteError error(code, sqlite3_errmsg(handle));
    sqlite3_reset(m_statement.get());
    throw error;
}

void Statement::Reset() noexcept { sqlite3_reset(m_statement.get()); }

std::int64_t Statement::Number(int column) const noexcept { return sqlite3_column_int64(m_statement.get(), column); }

bool Statement::IsNull(int column) const noexcept {
    return sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL;
}

std::string_view Statement::Blob(int column) const noexcept {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(m_statement.get(), column));
    const int size = sqlite3_column_bytes(m_statement.get(), column);
    return bytes == nullptr ? std::string_view() : std::string_view(bytes, static_cast<std::size_t>(size));
}

std::string SetDatabaseAside(const std::string& path) {
    const std::string aside = settings::SetFileAside(path);
    if (aside.empty())
        throw SqliteError(SqliteError::DamageCode, "the damaged database " + path + " can't be set aside");
    for (const char* suffix : {"-wal", "-shm"})
        std::rename((path + suffix).c_str(), (aside + suffix).c_str());
    return aside;
}

Transaction::~Transaction() {
    if (!m_connection.InTransaction())
        return;
    try {
        m_connection.Execute("ROLLBACK");
    } catch (const SqliteError&) { // the connection is of no use any more; the next statement will say so
    }
}

} // namespace tfs::service::store
