// SPDX-License-Identifier: GPL-2.0-or-later
#include <tfs_common/language_rules.h>

#include <utility>

namespace tfs::localization {
namespace {

std::uint32_t OneAndOther(std::int64_t count) { return count == 1 ? 0 : 1; }
std::uint32_t UpToOneAndOther(std::int64_t count) { return count <= 1 ? 0 : 1; }
std::uint32_t Single(std::int64_t) { return 0; }

std::uint32_t Russian(std::int64_t count) {
    const std::int64_t r10 = count % 10;
    const std::int64_t r100 = count % 100;
    if (r10 == 1)
        return r100 == 11 ? 2 : 0;
    if (r10 >= 2 && r10 <= 4)
        return r100 >= 10 && r100 <= 19 ? 2 : 1;
    return 2;
}

constexpr std::pair<std::string_view, LanguageRule> kLanguages[] = {
    {"en", {2, OneAndOther}}, {"de", {2, OneAndOther}}, {"fr", {2, UpToOneAndOther}},
    {"ru", {3, Russian}},     {"ja", {1, Single}},      {"zh-hans", {1, Single}},
};

} // namespace

const LanguageRule* LocalizationHelper::Find(std::string_view language) noexcept {
    for (const auto& [name, rule] : kLanguages)
        if (name == language)
            return &rule;
    return nullptr;
}

} // namespace tfs::localization
