// SPDX-License-Identifier: GPL-2.0-or-later
// The event database: one file in write-ahead mode, at most so many events, the oldest going first.
#pragma once

#include <contract/tfs/event.h>
#include <foundation/sync.h>
#include <service/store/sqlite.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tfs::service::store {

/// Owned by the event bus. Open, Append and Close are called by one thread at a time (the writer); Read by any, it
/// has a connection of its own and never waits for a write.
class EventDatabase {
public:
    EventDatabase(std::string path, std::uint64_t maxEvents);
    ~EventDatabase();

    /// What became of the file when it was opened.
    struct Opened {
        Event::IdType greatestId = 0; ///< 0 where there is no event
        std::string setAside;         ///< name under which a damaged file was kept; empty where it was sound
    };
    /// Opens or makes the file and checks it; a damaged one is set aside and a new one begun, whose greatest id is the
    /// best known of the old one. Throws SqliteError where no database can be had.
    Opened Open();
    void Close() noexcept;
    bool IsOpen() const noexcept { return m_writer.IsOpen(); }

    /// Appends events in the order of their ids, all or none. With `durable` they are on the medium when it returns,
    /// else they survive the end of the process. Throws SqliteError.
    void Append(std::span<const std::shared_ptr<const Event>> events, bool durable);
    /// Events with afterId < id <= upToId, ascending, at most `limit`. Throws SqliteError. A row whose payload doesn't
    /// decode is given without it, so that the count of events stays right.
    void Read(Event::IdType afterId, Event::IdType upToId, std::size_t limit, std::vector<Event>& events);
    std::uint64_t Count() const noexcept { return m_count; }

private:
    void OpenFile();
    void Insert(const Event& event);
    void Trim();

    const std::string m_path;
    const std::uint64_t m_maxEvents;
    Connection m_writer;
    Statement m_insert;
    Statement m_summary;
    std::uint64_t m_count = 0;
    bool m_fullSync = false;
    std::string m_payload;

    ulk::Mutex m_readMutex;
    Connection m_reader ULK_GUARDED_BY(m_readMutex);
    Statement m_select ULK_GUARDED_BY(m_readMutex);
};

} // namespace tfs::service::store
