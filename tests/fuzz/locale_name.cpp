// SPDX-License-Identifier: GPL-2.0-or-later
// Names of locales, which become names of files.
#include <tests/fuzz/input.h>
#include <tfs_common/translator.h>

void tfs::fuzz::Run(std::string_view input) {
    const std::string name(input);
    std::string language = "before";
    std::string territory = "before";
    if (ULK_FAILED(localization::ParseLocale(name.c_str(), language, territory))) {
        Require(language == "before" && territory == "before");
    } else {
        Require(territory.find_first_of("./") == std::string::npos);
        Require(language.find_first_of("./") == std::string::npos);
    }
    static localization::Translator translator("/nonexistent/");
    translator.Load(nullptr, name.c_str(), true);
    Require(translator.Language() == "en");
}
