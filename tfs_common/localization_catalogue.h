// SPDX-License-Identifier: GPL-2.0-or-later
// The table of numbered texts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tfs::localization {

struct LocalizationEntry {
    std::uint32_t id = 0;
    /// The name under which a .loc file addresses the entry; points into the static table of rows.
    std::string_view key;
    /// One text, or the plural forms in the order of the language's form indexes. Never empty.
    std::vector<std::string> forms;
};

/// Entry number to texts; the numbers are dense from 0 on. A value: copied to prepare a change, swapped to make it.
/// Reading is safe from any thread while nobody swaps.
class LocalizationCatalogue {
public:
    /// The catalogue with the English defaults.
    static LocalizationCatalogue BuiltIn();

    /// Null where there is no such number.
    const LocalizationEntry* Find(std::uint32_t id) const noexcept;
    /// The form, or the last one where the index is beyond the list. A number that isn't in the table gives a marker
    /// text that is recognised on screen and in reports.
    std::string GetString(std::uint32_t id, std::uint32_t formIndex) const;
    std::size_t Size() const noexcept { return m_entries.size(); }
    void Swap(LocalizationCatalogue& other) noexcept { m_entries.swap(other.m_entries); }

    /// Calls `visit(entry)` for each entry in the order of the numbers.
    template <class Visit>
    void ForEach(Visit&& visit) {
        for (std::uint32_t id = 0; id < m_entries.size(); ++id)
            visit(m_entries.find(id)->second);
    }

private:
    /// The standard hash of a number is the number itself.
    std::unordered_map<std::uint32_t, LocalizationEntry> m_entries;
};

} // namespace tfs::localization
