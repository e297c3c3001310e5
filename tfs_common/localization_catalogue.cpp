// SPDX-License-Identifier: GPL-2.0-or-later
#include <tfs_common/localization_catalogue.h>

#include <algorithm>
#include <iterator>

namespace tfs::localization {
namespace {

constexpr char kMissingEntry[] = "63fc5ebd-ec5d-4486-91be-7c6efced3a77";

struct Row {
    std::uint32_t id;
    std::string_view key;
    std::string_view text;
    std::string_view plural = {};
};

constexpr Row kRows[] = {
#define X(number, key, ...) {number, #key, __VA_ARGS__},
#include <tfs_common/catalogue_rows.inc>
#undef X
};

constexpr bool NumbersAreDense() {
    std::uint32_t next = 0;
    for (const Row& row : kRows)
        if (row.id != next++)
            return false;
    return true;
}
static_assert(NumbersAreDense(), "rows are sorted by number, each number is given once and none is left out");

} // namespace

LocalizationCatalogue LocalizationCatalogue::BuiltIn() {
    LocalizationCatalogue catalogue;
    catalogue.m_entries.reserve(std::size(kRows));
    for (const Row& row : kRows) {
        LocalizationEntry& entry = catalogue.m_entries[row.id];
        entry.id = row.id;
        entry.key = row.key;
        entry.forms.reserve(row.plural.empty() ? 1 : 2);
        entry.forms.emplace_back(row.text);
        if (!row.plural.empty())
            entry.forms.emplace_back(row.plural);
    }
    return catalogue;
}

const LocalizationEntry* LocalizationCatalogue::Find(std::uint32_t id) const noexcept {
    const auto found = m_entries.find(id);
    return found == m_entries.end() ? nullptr : &found->second;
}

std::string LocalizationCatalogue::GetString(std::uint32_t id, std::uint32_t formIndex) const {
    const LocalizationEntry* entry = Find(id);
    if (entry == nullptr || entry->forms.empty())
        return kMissingEntry;
    return entry->forms[std::min<std::size_t>(entry->forms.size() - 1, formIndex)];
}

} // namespace tfs::localization
