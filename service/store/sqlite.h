// SPDX-License-Identifier: GPL-2.0-or-later
// The little of SQLite that the event database uses, with exceptions for failures. One thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace tfs::service::store {

class SqliteError : public std::runtime_error {
public:
    static constexpr int DamageCode = 11; ///< the code of a malformed database, for damage that we find ourselves

    SqliteError(int code, const std::string& message) : std::runtime_error(message), m_code(code) {}
    int Code() const noexcept { return m_code; }
    /// The file isn't a sound database: it will not get better by trying again.
    bool IsDamage() const noexcept;
    /// The disk is full, or may not be written.
    bool IsFull() const noexcept;
    bool IsReadOnly() const noexcept;

private:
    int m_code;
};

class Statement;

class Connection {
public:
    enum class Mode { ReadWriteCreate, ReadOnly };

    Connection() = default;
    /// Throws SqliteError.
    Connection(const std::string& path, Mode mode);

    bool IsOpen() const noexcept { return m_handle != nullptr; }
    void Close() noexcept { m_handle.reset(); }
    /// Runs statements that yield no rows. Throws SqliteError.
    void Execute(const char* sql);
    /// First column of the first row; `otherwise` where there is no row or it holds null.
    std::int64_t Number(const char* sql, std::int64_t otherwise);
    std::string Text(const char* sql);
    Statement Prepare(std::string_view sql);
    bool InTransaction() const noexcept;

private:
    struct Closer {
        void operator()(sqlite3* handle) const noexcept;
    };
    std::unique_ptr<sqlite3, Closer> m_handle;
};

/// A prepared statement; used again and again by its owner, and gone before its connection.
class Statement {
public:
    Statement() = default;

    void Bind(int index, std::int64_t value);
    void BindText(int index, std::string_view value);
    void BindBlob(int index, std::string_view value);
    void BindNull(int index);
    /// True while there is a row. Throws SqliteError.
    bool Step();
    void Reset() noexcept;
    std::int64_t Number(int column) const noexcept;
    bool IsNull(int column) const noexcept;
    /// Valid until the next Step or Reset.
    std::string_view Blob(int column) const noexcept;

private:
    friend class Connection;
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const noexcept;
    };
    explicit Statement(sqlite3_stmt* statement) noexcept : m_statement(statement) {}
    void Check(int code);
    std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
};

/// Renames a damaged database, which is closed, to its name with ".damaged" behind it, over an earlier one; its log and
/// index go with it and are never replayed into its successor. Returns the new name. Throws SqliteError.
std::string SetDatabaseAside(const std::string& path);

/// Rolls back unless committed.
class Transaction {
public:
    /// Throws SqliteError, as Commit does.
    explicit Transaction(Connection& connection) : m_connection(connection) { m_connection.Execute("BEGIN IMMEDIATE"); }
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit() { m_connection.Execute("COMMIT"); }

private:
    Connection& m_connection;
};

} // namespace tfs::service::store
