// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/product_paths.h>
#include <foundation/check.h>
#include <tfs_common/translator.h>

#include <boost/algorithm/string/case_conv.hpp>
#include <utility>

namespace tfs::localization {
namespace {

// Support reads this place in traces; it stays, wherever the check moves.
constexpr char kSource[] = "tfs_common/translator";
constexpr int kUnknownLanguageLine = 244;

Translator& Process() {
    static Translator translator(paths::LocalizationFolder);
    return translator;
}

// Filled before main, so that no reader ever pays for it or races with it.
[[maybe_unused]] const Translator& g_filledBeforeMain = Process();

} // namespace

Translator::Translator(std::string folder)
    : m_folder(std::move(folder)), m_catalogue(LocalizationCatalogue::BuiltIn()) {}

void Translator::Load(ulk::ITracer* tracer, const char* localeName, bool keepUtf8) {
    std::string language;
    std::string territory;
    if (ULK_FAILED(ParseLocale(localeName, language, territory)))
        return;
    boost::algorithm::to_lower(language);
    const LanguageRule* rule = LocalizationHelper::Find(language);
    const std::uint32_t pluralFormsAmount = rule != nullptr ? rule->pluralFormsAmount : 0;
    if (!(pluralFormsAmount > 0)) {
        ulk::check::ReportFalse(tracer, kSource, kUnknownLanguageLine, "pluralFormsAmount > 0",
                                [&](auto& record) { record << "Unknown localization language: " << language; });
        return;
    }
    std::string prefix = m_folder;
    if (!prefix.ends_with('/'))
        prefix += '/';
    if (ULK_FAILED(LoadFile(tracer, prefix + territory + ".loc", pluralFormsAmount, keepUtf8)) &&
        ULK_FAILED(LoadFile(tracer, prefix + language + ".loc", pluralFormsAmount, keepUtf8))) {
        ULK_TRACE(tracer, ulk::level::Failure)
            << "Localization resources were not loaded (" << language << ", " << territory << ")";
        return;
    }
    boost::algorithm::to_lower(territory);
    m_language = std::move(language);
    m_territory = std::move(territory);
}

std::uint32_t Translator::GetPluralFormIndex(std::int64_t count) const {
    const LanguageRule* rule = LocalizationHelper::Find(m_language);
    return rule != nullptr ? rule->selector(count) : 0;
}

void LoadLocalization(ulk::ITracer* tracer, const char* localeName, bool keepUtf8) {
    Process().Load(tracer, localeName, keepUtf8);
}

result_t LoadLocalizationFile(ulk::ITracer* tracer, const std::string& path, std::uint32_t pluralFormsAmount,
                              bool keepUtf8) {
    return Process().LoadFile(tracer, path, pluralFormsAmount, keepUtf8);
}

std::string GetLocalizedString(std::uint32_t id, std::uint32_t formIndex) { return Process().GetString(id, formIndex); }

std::uint32_t GetPluralFormIndex(std::int64_t count) { return Process().GetPluralFormIndex(count); }

std::string GetLocalizedPlural(std::uint32_t id, std::int64_t count) {
    return Format(GetLocalizedString(id, GetPluralFormIndex(count)), count);
}

std::string GetCurrentLanguage() { return Process().Language(); }

} // namespace tfs::localization
