// SPDX-License-Identifier: GPL-2.0-or-later
// Changes of settings and what is wrong with them, to and from the message. On the thread that owns the message. Broken
// text throws ulk::InvalidArgumentException, a broken message kj::Exception; the record is then half filled.
#pragma once

#include <contract/tfs/settings.h>
#include <wire/tesl.capnp.h>

namespace tfs::wire {

void Write(const settings::SettingsChangeList& changes, schema::SettingsChangeList::Builder out);
void Read(schema::SettingsChangeList::Reader in, settings::SettingsChangeList& changes);

void Write(const settings::ValidationMessage& message, schema::ValidationMessage::Builder out);
void Read(schema::ValidationMessage::Reader in, settings::ValidationMessage& message);
/// `out` was made with the size of `messages`.
void WriteList(const ulk::types::vector_t<settings::ValidationMessage>& messages,
               capnp::List<schema::ValidationMessage>::Builder out);
void ReadList(capnp::List<schema::ValidationMessage>::Reader in,
              ulk::types::vector_t<settings::ValidationMessage>& messages);

} // namespace tfs::wire
