// SPDX-License-Identifier: GPL-2.0-or-later
// What an event holds, in the words of the value tables.
#pragma once

#include <contract/tfs/event.h>

#include <string>

namespace tfs::control {

/// The name of a number; the number itself where the table has none for it.
std::string NameOf(const types::ValueTable& table, std::int64_t value);

std::string EventTypeName(types::EventName::Type type);

/// The table that tells the names of a field's numbers; null where they are plain numbers.
const types::ValueTable* TableOf(types::AdditionalName::Type field) noexcept;

/// The field's value as bytes: a table's name, UTC for a date, a list in brackets, else the text form; empty for none.
std::string FieldText(types::AdditionalName::Type field, const ulk::types::variant_t& value);

} // namespace tfs::control
