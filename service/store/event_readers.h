// SPDX-License-Identifier: GPL-2.0-or-later
// The reading connections of the event database.
#pragma once

#include <foundation/sync.h>
#include <service/store/event_reader.h>

#include <memory>
#include <string>
#include <vector>

namespace tfs::service::store {

/// Owned by the event database. Any thread.
class EventReaders {
public:
    explicit EventReaders(std::string path) : m_path(std::move(path)) {}

    /// A reader as long as this lives; none while the database is closed.
    class Lease {
    public:
        Lease(EventReaders& readers, std::unique_ptr<EventReader> reader, unsigned generation)
            : m_readers(readers), m_reader(std::move(reader)), m_generation(generation) {}
        ~Lease() { m_readers.Return(std::move(m_reader), m_generation); }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        EventReader* operator->() const noexcept { return m_reader.get(); }
        EventReader& operator*() const noexcept { return *m_reader; }
        explicit operator bool() const noexcept { return m_reader != nullptr; }

    private:
        EventReaders& m_readers;
        std::unique_ptr<EventReader> m_reader;
        const unsigned m_generation;
    };

    /// The database is there from now on.
    void Open();
    /// It is not; readers that are lent still see the file that they have opened.
    void Close() noexcept;
    /// Throws SqliteError where no connection can be had.
    Lease Take();

private:
    void Return(std::unique_ptr<EventReader> reader, unsigned generation) noexcept;

    const std::string m_path;
    ulk::Mutex m_mutex;
    bool m_open ULK_GUARDED_BY(m_mutex) = false;
    unsigned m_generation ULK_GUARDED_BY(m_mutex) = 0; ///< of the file; a reader of an earlier one is of no use
    std::vector<std::unique_ptr<EventReader>> m_idle ULK_GUARDED_BY(m_mutex);
};

} // namespace tfs::service::store
