// SPDX-License-Identifier: GPL-2.0-or-later
// A connection that reads the event database, beside the one that writes it.
#pragma once

#include <contract/tfs/event.h>
#include <service/store/row_keys.h>
#include <service/store/sqlite.h>

#include <string>
#include <vector>

namespace tfs::service::store {

/// Lent by EventReaders; one thread at a time. Never waits for a write. All operations throw SqliteError. A row whose
/// payload doesn't decode is given without it, so that the count of events stays right.
class EventReader {
public:
    /// The database is there, in write-ahead mode.
    explicit EventReader(const std::string& path);

    /// All reads see the database as it is at the first of them, as long as this lives.
    class Snapshot {
    public:
        explicit Snapshot(EventReader& reader);
        ~Snapshot();
        Snapshot(const Snapshot&) = delete;
        Snapshot& operator=(const Snapshot&) = delete;

    private:
        EventReader& m_reader;
    };

    /// 0 where there is no event.
    Event::IdType GreatestId();
    /// Events with afterId < id <= upToId, ascending, at most `limit`, behind what `events` holds.
    void Read(Event::IdType afterId, Event::IdType upToId, std::size_t limit, std::vector<Event>& events);

    /// Goes to the event; false where there is none of this id. The three below speak of it until the next operation.
    bool Seek(Event::IdType id);
    RowKeys Keys() const;
    Event Current() const;
    std::size_t PayloadSize() const;

    /// For the statements of a search.
    Connection& Database() noexcept { return m_connection; }

private:
    Connection m_connection;
    Statement m_greatest;
    Statement m_rows;
    Statement m_row;
};

} // namespace tfs::service::store
