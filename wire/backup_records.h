// SPDX-License-Identifier: GPL-2.0-or-later
// Objects in Storage to and from the message. On the thread that owns the message.
#pragma once

#include <contract/tfs/backup.h>
#include <wire/tesl.capnp.h>

#include <cstddef>

namespace tfs::wire {

void Write(const BackupItemInfo& item, schema::BackupItem::Builder out);
/// Broken text throws ulk::InvalidArgumentException, a broken message kj::Exception; `item` is then half filled.
void Read(schema::BackupItem::Reader in, BackupItemInfo& item);

void Write(const settings::BackupSettings& settings, schema::BackupSettings::Builder out);
void Read(schema::BackupSettings::Reader in, settings::BackupSettings& settings);

/// `out` was made with the size of `items`.
void WriteList(const BackupItems& items, capnp::List<schema::BackupItem>::Builder out);
void ReadList(capnp::List<schema::BackupItem>::Reader in, BackupItems& items);

/// Bytes that the item takes in a message, roughly; for keeping pages small.
std::size_t EstimateSize(const BackupItemInfo& item) noexcept;

} // namespace tfs::wire
