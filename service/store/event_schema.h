// SPDX-License-Identifier: GPL-2.0-or-later
// The tables of the event database.
#pragma once

#include <cstdint>

namespace tfs::service::store {

inline constexpr std::int64_t SchemaVersion = 2;

/// Ids of one row of the summary: by its least and greatest time a date range finds its ids. Hence no index of times,
/// which would cost each event more than it saves.
inline constexpr std::int64_t BlockSize = 1024;

/// One index for each key of a query, with the id behind the key, so that its rows come in the order of the reports.
inline constexpr char Schema[] = R"(
CREATE TABLE IF NOT EXISTS ev(
    id INTEGER PRIMARY KEY, ts INTEGER NOT NULL, etype INTEGER NOT NULL, ttype TEXT, task INTEGER,
    sev INTEGER NOT NULL, payload BLOB NOT NULL);
CREATE INDEX IF NOT EXISTS ev_etype ON ev(etype, id);
CREATE INDEX IF NOT EXISTS ev_ttype ON ev(ttype, id);
CREATE INDEX IF NOT EXISTS ev_task ON ev(task, id);
CREATE TABLE IF NOT EXISTS block(number INTEGER PRIMARY KEY, least INTEGER NOT NULL, greatest INTEGER NOT NULL);
)";

} // namespace tfs::service::store
