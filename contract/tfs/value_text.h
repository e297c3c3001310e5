// SPDX-License-Identifier: GPL-2.0-or-later
// Values as text and text as values: how settings and events carry their enumerations. Texts match exactly, case
// included. What doesn't match throws std::invalid_argument and leaves the value as it was. Any thread.
#pragma once

#include <contract/tfs/value_tables.h>

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace tfs::types {

/// "Invalid value provided: <unsigned 32-bit number> for type <table's name>::Type" where the number has no name.
std::string ToString(const ValueTable& table, std::int32_t value);
/// "There is no such '<table's name>::Type' value: <text>".
std::int32_t FromString(std::string_view text, const ValueTable& table);

/// The pair of one enumeration; `Named` is a struct of value_tables.h.
template <class Named>
std::string ToString(typename Named::Type value) {
    return ToString(Named::Table(), value);
}
template <class Named>
void FromString(std::string_view text, typename Named::Type& value) {
    value = static_cast<typename Named::Type>(FromString(text, Named::Table()));
}

inline std::string ToString(DangerLevel::Type value) { return ToString<DangerLevel>(value); }
inline void FromString(std::string_view text, DangerLevel::Type& value) { FromString<DangerLevel>(text, value); }
inline std::string ToString(Initiator::Type value) { return ToString<Initiator>(value); }
inline void FromString(std::string_view text, Initiator::Type& value) { FromString<Initiator>(text, value); }
inline std::string ToString(TraceLevel::Type value) { return ToString<TraceLevel>(value); }
inline void FromString(std::string_view text, TraceLevel::Type& value) { FromString<TraceLevel>(text, value); }
inline std::string ToString(AdditionalName::Type value) { return ToString<AdditionalName>(value); }
inline void FromString(std::string_view text, AdditionalName::Type& value) { FromString<AdditionalName>(text, value); }
inline std::string ToString(TsnUsage::Type value) { return ToString<TsnUsage>(value); }
inline void FromString(std::string_view text, TsnUsage::Type& value) { FromString<TsnUsage>(text, value); }
inline std::string ToString(EventName::Type value) { return ToString<EventName>(value); }
inline void FromString(std::string_view text, EventName::Type& value) { FromString<EventName>(text, value); }
inline std::string ToString(FilesystemType::Type value) { return ToString<FilesystemType>(value); }
inline void FromString(std::string_view text, FilesystemType::Type& value) { FromString<FilesystemType>(text, value); }

/// "Yes" or "No", for display. Takes nothing that merely converts to bool.
template <std::same_as<bool> Bool>
std::string ToString(Bool value) {
    return value ? "Yes" : "No";
}
/// "yes" or "no", as settings are written where they are read again.
template <std::same_as<bool> Bool>
std::string ToSettingText(Bool value) {
    return value ? "yes" : "no";
}
/// "yes" and "true"; "no" and "false". Failure: "There is no such 'bool' value: <text>".
void FromString(std::string_view text, bool& value);

} // namespace tfs::types
