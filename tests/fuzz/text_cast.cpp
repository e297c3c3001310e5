// SPDX-License-Identifier: GPL-2.0-or-later
// Conversions of text: what is taken comes back as it was, and what isn't is told.
#include <foundation/string16.h>
#include <tests/fuzz/input.h>

#include <cstring>

void tfs::fuzz::Run(std::string_view input) {
    ulk::types::string16_t wide;
    std::string narrow;
    if (ULK_SUCCEEDED(ulk::text::Convert(input, wide))) {
        Require(ULK_SUCCEEDED(ulk::text::Convert(std::u16string_view(wide), narrow)));
        Require(narrow == input);
        Require(wide == ulk::text::ToUtf16Lossy(input));
    }
    const ulk::types::string16_t lossy = ulk::text::ToUtf16Lossy(input);
    Require(ULK_SUCCEEDED(ulk::text::Convert(std::u16string_view(lossy), narrow)));

    std::u16string units(input.size() / sizeof(char16_t), u'\0');
    if (!units.empty())
        std::memcpy(units.data(), input.data(), units.size() * sizeof(char16_t));
    std::u16string back;
    if (ULK_SUCCEEDED(ulk::text::Convert(std::u16string_view(units), narrow)))
        Require(ULK_SUCCEEDED(ulk::text::Convert(std::string_view(narrow), back)) && back == units);
    Require(ULK_SUCCEEDED(ulk::text::Convert(ulk::text::ToUtf8Lossy(units), back)));
}
