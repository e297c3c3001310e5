// SPDX-License-Identifier: GPL-2.0-or-later
// The interface's texts: built-in English from before main, overlaid once at start by a .loc file.
#pragma once

#include <foundation/trace.h>
#include <tfs_common/catalogue_entries.h>
#include <tfs_common/format_text.h>
#include <tfs_common/language_rules.h>
#include <tfs_common/locale_parser.h>
#include <tfs_common/localization_catalogue.h>

#include <cstdint>
#include <string>

namespace tfs::localization {

/// A catalogue with its language. Loading happens on one thread, before others read; reading needs no lock afterwards.
class Translator {
public:
    /// `folder` holds the .loc files, in UTF-8. Starts in built-in English.
    explicit Translator(std::string folder);

    /// Overlays the texts for a POSIX locale name: the territory's file if it loads, else the language's. On any
    /// failure the texts and the language stay as they were; nothing is thrown.
    void Load(ulk::ITracer* tracer, const char* localeName, bool keepUtf8);
    /// Loads one file: wholly, or not at all. A missing file is eNotFound, one that can't be read or parsed
    /// eUnspecified. Without `keepUtf8` the texts are converted to the C locale's multibyte encoding.
    result_t LoadFile(ulk::ITracer* tracer, const std::string& path, std::uint32_t pluralFormsAmount, bool keepUtf8);

    std::string GetString(std::uint32_t id, std::uint32_t formIndex = 0) const {
        return m_catalogue.GetString(id, formIndex);
    }
    std::uint32_t GetPluralFormIndex(std::int64_t count) const;
    const std::string& Language() const noexcept { return m_language; }
    const std::string& Territory() const noexcept { return m_territory; }
    const LocalizationCatalogue& Catalogue() const noexcept { return m_catalogue; }

private:
    std::string m_folder;
    LocalizationCatalogue m_catalogue;
    std::string m_language = "en";
    std::string m_territory = "en_us";
};

// The process's translator, whose files are in the product's localization folder. See the class for failures.

/// Runs at most once, on the main thread, before other threads read. `tracer` may be null.
void LoadLocalization(ulk::ITracer* tracer, const char* localeName, bool keepUtf8);
result_t LoadLocalizationFile(ulk::ITracer* tracer, const std::string& path, std::uint32_t pluralFormsAmount,
                              bool keepUtf8);
std::string GetLocalizedString(std::uint32_t id, std::uint32_t formIndex = 0);
std::uint32_t GetPluralFormIndex(std::int64_t count);
/// The plural form for `count`, with the count filled in.
std::string GetLocalizedPlural(std::uint32_t id, std::int64_t count);
std::string GetCurrentLanguage();

} // namespace tfs::localization
