// SPDX-License-Identifier: GPL-2.0-or-later
// Change lists of settings: read from INI text, tested, applied to a copy of a settings structure. All functions may
// be called from any thread; a locator and a tracer may be null.
#pragma once

#include <contract/tfs/settings.h>
#include <contract/tfs/variant.h>
#include <foundation/object.h>
#include <foundation/trace.h>
#include <tfs_common/settings_storage.h>

#include <cstddef>
#include <istream>
#include <string>
#include <string_view>

namespace tfs::tools {

/// A path as the system takes it.
using NativePath = std::string;

inline constexpr std::size_t GreatestLineLength = 4096;       ///< bytes of an INI line, without white space round it
inline constexpr std::size_t GreatestSettingsFile = 1u << 20; ///< bytes
inline constexpr std::size_t GreatestMessageCount = 100;      ///< further faults of a list aren't told

/// Appends the items of an INI file. Only a regular file of at most GreatestSettingsFile bytes is read, and opening
/// never waits. Throws ulk::CheckResultFailedException "Cannot read settings from file <path>: <reason>"; `list` is as
/// before then.
void ReadIni(ulk::ITracer* tracer, const NativePath& path, settings::SettingsChangeList& list);

/// Appends the items of a stream. `section` is the section at its start, empty for none. A line longer than
/// GreatestLineLength throws std::out_of_range "settings string is too long", a stream that goes bad
/// std::runtime_error; `list` is as before then.
void ReadIniImpl(ulk::ITracer* tracer, std::istream& stream, std::string section, settings::SettingsChangeList& list);

/// The same as ReadIni with a result: the code of the failure, which is traced at level 300.
result_t LoadChangeList(ulk::IServiceLocator* locator, const NativePath& path, settings::SettingsChangeList& list);

/// Lays a settings structure out under a node named "root". Null where the holder is empty or no such structure is
/// described.
settings::objptr_t<settings::IStorage> MakeNode(ulk::IServiceLocator* locator,
                                                const ulk::types::any_struct_t& structure);

/// Tests a list against a structure: `messages` gets a line for each key that doesn't exist and each value that the
/// key doesn't take. sOk; sInvalidSettings where only values are wrong; eNotFound where a key is; eInvalidType where
/// the structure isn't known or isn't the one that the list is for (no message then).
result_t ValidateChangeList(ulk::IServiceLocator* locator, const ulk::types::any_struct_t& structure,
                            const settings::SettingsChangeList& changes,
                            ulk::types::vector_t<settings::ValidationMessage>& messages);

/// Applies a list to a copy of a structure, the whole list or nothing; of several items with one key the last wins.
/// An index one behind a list's end appends an element; a list's own key with an empty value empties the list.
/// Failures: eInvalidType for another structure, eNotFound for a key that doesn't exist, eInvalidArgument for a value
/// that isn't allowed; every fault of the list is then in `messages`. They are traced at level 300 as "Cannot update
/// settings: <reason>", and `updated` is as before.
result_t UpdateSettings(ulk::IServiceLocator* locator, const ulk::types::any_struct_t& current,
                        const settings::SettingsChangeList& changes,
                        ulk::types::vector_t<settings::ValidationMessage>& messages, ulk::types::any_struct_t& updated);
/// The same by value, traced alike; throws ulk::CheckResultFailedException with the reason, or std::bad_alloc.
ulk::types::any_struct_t UpdateSettings(ulk::IServiceLocator* locator, const ulk::types::any_struct_t& current,
                                        const settings::SettingsChangeList& changes,
                                        ulk::types::vector_t<settings::ValidationMessage>& messages);

/// Every setting of a structure as key and text, in the order of the description: what UpdateSettings takes to make the
/// same structure of any other. A list comes with an empty text before its elements.
/// Empty where the structure isn't known.
ulk::types::vector_t<settings::ChangeItem> ListSettings(ulk::IServiceLocator* locator,
                                                        const ulk::types::any_struct_t& structure);

} // namespace tfs::tools
