// SPDX-License-Identifier: GPL-2.0-or-later
// .loc files: loaded wholly or not at all, and every entry keeps a text for each form.
#include <tests/fuzz/input.h>
#include <tfs_common/translator.h>

namespace {

using tfs::localization::LocalizationCatalogue;
using tfs::localization::LocalizationEntry;

void CheckEntry(const LocalizationEntry& entry, const LocalizationEntry& builtIn, std::uint32_t formsAmount,
                bool loaded) {
    using tfs::fuzz::Require;
    if (!loaded)
        Require(entry.forms == builtIn.forms);
    else if (builtIn.forms.size() == 1)
        Require(entry.forms.size() == 1);
    else
        Require(entry.forms.size() >= formsAmount);
}

} // namespace

void tfs::fuzz::Run(std::string_view input) {
    static const LocalizationCatalogue builtIn = LocalizationCatalogue::BuiltIn();
    const std::uint8_t options = TakeByte(input);
    const std::uint32_t formsAmount = 1 + options % 4;
    const MemoryFile file(input);
    localization::Translator translator("");
    const bool loaded = ULK_SUCCEEDED(translator.LoadFile(nullptr, file.Path(), formsAmount, options >= 128));
    LocalizationCatalogue catalogue = translator.Catalogue();
    catalogue.ForEach(
        [&](const LocalizationEntry& entry) { CheckEntry(entry, *builtIn.Find(entry.id), formsAmount, loaded); });
}
