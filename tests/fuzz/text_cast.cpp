// SPDX-License-Identifier: GPL-2.0-or-later
// Conversions of text: what is taken comes back as it was, and what isn't is told.
#include <foundation/string16.h>
#include <tests/fuzz/input.h>

#include <clocale>
#include <cstring>
#include <optional>
#include <typeinfo>

namespace {

using namespace ulk;
using tfs::fuzz::Require;
using types::string16_t;
using types::string8_t;

/// What a conversion gives; nothing where it throws what it promises for a text that it doesn't take.
template <class To, class From>
std::optional<To> Try(To (*convert)(From), From from) {
    try {
        return convert(from);
    } catch (const std::bad_cast&) {
        return std::nullopt;
    }
}

void TestNarrow(std::string_view input) {
    string16_t wide;
    std::string narrow;
    const bool isWhole = ULK_SUCCEEDED(text::Convert(input, wide));
    if (isWhole) {
        Require(ULK_SUCCEEDED(text::Convert(std::u16string_view(wide), narrow)));
        Require(narrow == input);
        Require(wide == text::ToUtf16Lossy(input));
    }
    const auto cast = Try<string16_t, std::string_view>(text::Cast<string16_t>, input);
    const auto standard = Try<std::u16string, std::string_view>(text::Cast<std::u16string>, input);
    Require(cast.has_value() == isWhole && standard.has_value() == isWhole);
    Require(!isWhole || (*cast == wide && std::u16string_view(*cast) == *standard));
    const string16_t lossy = text::ToUtf16Lossy(input);
    Require(ULK_SUCCEEDED(text::Convert(std::u16string_view(lossy), narrow)));
}

void TestWide(std::u16string_view units) {
    std::string narrow;
    std::u16string back;
    const bool isWhole = ULK_SUCCEEDED(text::Convert(units, narrow));
    if (isWhole)
        Require(ULK_SUCCEEDED(text::Convert(std::string_view(narrow), back)) && back == units);
    const auto cast = Try<string8_t, std::u16string_view>(text::Cast<string8_t>, units);
    const auto standard = Try<std::string, std::u16string_view>(text::Cast<std::string>, units);
    Require(cast.has_value() == isWhole && standard.has_value() == isWhole);
    Require(!isWhole || (*standard == narrow && std::string_view(*cast) == narrow));
    Require(ULK_SUCCEEDED(text::Convert(text::ToUtf8Lossy(units), back)));
}

/// In the locale that is set: each text that one direction gives is one that the other takes and gives back.
void TestLocale(std::string_view input, std::u16string_view units) {
    if (const auto wide = Try(text::FromLocale, input)) {
        const auto narrow = Try(text::ToLocale, std::u16string_view(*wide));
        Require(narrow && Try(text::FromLocale, std::string_view(*narrow)) == wide);
    }
    if (const auto narrow = Try(text::ToLocale, units))
        Require(Try(text::FromLocale, std::string_view(*narrow)).has_value());
    Require(Try(text::FromLocale, std::string_view(text::ToLocaleLossy(input))).has_value());
}

} // namespace

void tfs::fuzz::Run(std::string_view input) {
    std::u16string units(input.size() / sizeof(char16_t), u'\0');
    if (!units.empty())
        std::memcpy(units.data(), input.data(), units.size() * sizeof(char16_t));
    TestNarrow(input);
    TestWide(units);
    for (const char* const locale : {"C", "C.UTF-8"}) {
        Require(std::setlocale(LC_CTYPE, locale) != nullptr);
        TestLocale(input, units);
    }
}
