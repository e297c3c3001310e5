// SPDX-License-Identifier: GPL-2.0-or-later
// The event database: one file in write-ahead mode, at most so many events, the oldest going first.
#pragma once

#include <contract/tfs/event.h>
#include <service/store/event_readers.h>
#include <service/store/sqlite.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tfs::service::store {

/// Owned by the event bus. All but SetMaxEvents and Readers belongs to one thread at a time, the writer's; others read
/// through connections of their own.
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
    std::uint64_t Count() const noexcept { return m_count; }
    /// At most so many, at least one; what is beyond goes with the next writes, or by Trim. Any thread.
    void SetMaxEvents(std::uint64_t maxEvents) noexcept;
    bool HasTooMany() const noexcept { return m_count > m_maxEvents; }
    /// Takes some of the oldest events away where there are too many. Throws SqliteError.
    void Trim();

    EventReaders& Readers() noexcept { return m_readers; }

private:
    void OpenFile();
    void Insert(const Event& event);
    void TrimRows();

    const std::string m_path;
    std::atomic<std::uint64_t> m_maxEvents;
    Connection m_writer;
    Statement m_insert;
    Statement m_summary;
    std::uint64_t m_count = 0;
    bool m_fullSync = false;
    std::string m_payload;
    EventReaders m_readers;
};

} // namespace tfs::service::store
