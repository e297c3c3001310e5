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

static_assert(std::is_sorted(std::begin(kRows), std::end(kRows),
                             [](const Row& a, const Row& b) { return a.id < b.id; }),
              "rows are sorted by number");
static_assert(std::adjacent_find(std::begin(kRows), std::end(kRows),
                                 [](const Row& a, const Row& b) { return a.id == b.id; }) == std::end(kRows),
              "a number is given once");

} // namespace

LocalizationCatalogue LocalizationCatalogue::BuiltIn() {
    LocalizationCatalogue catalogue;
    catalogue.m_entries.reserve(std::size(kRows));
    for (const Row& row : kRows) {
        LocalizationEntry entry{row.id, row.key, {}};
        entry.forms.reserve(row.plural.empty() ? 1 : 2);
        entry.forms.emplace_back(row.text);
        if (!row.plural.empty())
            entry.forms.emplace_back(row.plural);
        catalogue.m_entries.emplace(row.id, std::move(entry));
    }
    return catalogue;
}

const std::vector<std::uint32_t>& LocalizationCatalogue::Order() {
    static const std::vector<std::uint32_t> order = [] {
        std::vector<std::uint32_t> ids;
        for (const Row& row : kRows)
            ids.push_back(row.id);
        return ids;
    }();
    return order;
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
