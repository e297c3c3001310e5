// SPDX-License-Identifier: GPL-2.0-or-later
// One key-value file on SQLite. Thread-safe; a call waits for the disk.
#pragma once

#include <foundation/result.h>
#include <foundation/sync.h>

#include <string>

struct sqlite3;

namespace platform::storage {

class KeyValueFile {
public:
    KeyValueFile() = default;
    ~KeyValueFile();
    KeyValueFile(const KeyValueFile&) = delete;
    KeyValueFile& operator=(const KeyValueFile&) = delete;

    /// Opens or creates the file, see app_core::IKeyValueStorage. A folder or file that is a symbolic link or another
    /// user's is eAccessDenied; a damaged one is renamed and begun anew. Whatever was open before is closed.
    result_t Open(const std::string& path);
    /// eNotFound where the key has no value, eNotInitialized while nothing is open.
    result_t Get(const std::string& key, std::string& value);
    result_t Set(const std::string& key, const std::string& value);
    result_t Remove(const std::string& key);
    void Close();

private:
    class Statement;

    result_t OpenDatabase(const std::string& name) ULK_REQUIRES(m_mutex);
    int Prepare(const std::string& name) ULK_REQUIRES(m_mutex);
    void CloseDatabase() ULK_REQUIRES(m_mutex);

    ulk::Mutex m_mutex;
    sqlite3* m_database ULK_GUARDED_BY(m_mutex) = nullptr;
};

} // namespace platform::storage
