// SPDX-License-Identifier: GPL-2.0-or-later
// Texts of the catalogue as formats: they come from translators' files.
#include <tests/fuzz/input.h>
#include <tfs_common/format_text.h>

void tfs::fuzz::Run(std::string_view input) {
    const std::string text(input);
    (void)localization::Format(text, 5);
    (void)localization::Format(text, std::string("name"));
    (void)localization::Format(text, std::string("first"), -7, 1.5);
}
