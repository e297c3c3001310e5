// SPDX-License-Identifier: GPL-2.0-or-later
// The supported languages and their plural rules.
#pragma once

#include <cstdint>
#include <string_view>

namespace tfs::localization {

struct LanguageRule {
    /// How many forms a plural text has.
    std::uint32_t pluralFormsAmount = 0;
    /// Zero-based form index of a count.
    std::uint32_t (*selector)(std::int64_t count) = nullptr;
};

/// The table of languages: en, de, fr, ru, ja and zh-hans. Read-only, any thread.
class LocalizationHelper {
public:
    /// Null where the language isn't supported. Names are in lower case.
    static const LanguageRule* Find(std::string_view language) noexcept;
};

} // namespace tfs::localization
