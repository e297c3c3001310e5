// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/string16.h>

#include <boost/locale/utf.hpp>
#include <climits>
#include <cwchar>
#include <new>
#include <optional>
#include <stdexcept>
#include <typeinfo>

namespace ulk::text {
namespace {

namespace utf = boost::locale::utf;

/// The greatest value that fits one unit of UTF-16.
constexpr utf::code_point kGreatestUnit = 0xFFFF;

struct CodePoint {
    utf::code_point value;
    std::size_t length; // units or bytes that it took
};

/// The code point at `at`, or nothing for what a well-formed text doesn't hold: a surrogate without its partner in
/// UTF-16; overlong forms, surrogates, values above 0x10FFFF, cut sequences and stray continuation bytes in UTF-8.
template <class Char>
std::optional<CodePoint> Decode(std::basic_string_view<Char> text, std::size_t at) noexcept {
    const Char* const first = text.data() + at;
    const Char* next = first;
    const utf::code_point value = utf::utf_traits<Char>::decode(next, text.data() + text.size());
    if (value == utf::illegal || value == utf::incomplete)
        return std::nullopt;
    return CodePoint{value, static_cast<std::size_t>(next - first)};
}

template <class Char, class To>
void Append(To& to, utf::code_point value) {
    Char units[4];
    const Char* const end = utf::utf_traits<Char>::encode(value, units);
    to.append(std::basic_string_view<Char>(units, static_cast<std::size_t>(end - units)));
}

void Reserve(std::string& to, std::size_t size) { to.reserve(size); }
void Reserve(std::u16string& to, std::size_t size) { to.reserve(size); }
void Reserve(types::string16_t& to, std::size_t size) { to.reserve_extra(size); }
void Reserve(types::string8_t& to, std::size_t size) { to.reserve_extra(size); }

/// A first pass tests the text and sizes the output, so that nothing is allocated for a broken one.
template <class FromChar, class To>
result_t ConvertStrictly(std::basic_string_view<FromChar> from, To& to) noexcept {
    using ToChar = typename To::value_type;
    try {
        std::size_t size = 0;
        for (std::size_t at = 0; at < from.size();) {
            const auto point = Decode(from, at);
            if (!point)
                return eInvalidArgument;
            size += static_cast<std::size_t>(utf::utf_traits<ToChar>::width(point->value));
            at += point->length;
        }
        To result;
        Reserve(result, size);
        for (std::size_t at = 0; at < from.size();) {
            const auto point = Decode(from, at);
            Append<ToChar>(result, point->value);
            at += point->length;
        }
        to = std::move(result);
        return sOk;
    } catch (const std::bad_alloc&) {
        return eOutOfMemory;
    } catch (const std::length_error&) {
        return eOutOfMemory;
    }
}

template <class FromChar, class To>
To ConvertLossily(std::basic_string_view<FromChar> from) {
    To to;
    Reserve(to, from.size());
    for (std::size_t at = 0; at < from.size();) {
        const auto point = Decode(from, at);
        Append<typename To::value_type>(to, point ? point->value : U'?');
        at += point ? point->length : 1;
    }
    return to;
}

/// Turns a converter's code into what a cast throws.
void ThrowOnFailure(result_t result) {
    if (ULK_SUCCEEDED(result))
        return;
    if (result == eOutOfMemory)
        throw std::bad_alloc();
    throw std::bad_cast();
}

template <class To, class From>
To Converted(From from) {
    To to;
    ThrowOnFailure(Convert(from, to));
    return to;
}

/// Appends the character in the locale's form; false where the locale has none for it.
bool AppendInLocale(std::string& to, utf::code_point value, std::mbstate_t& state) {
    char bytes[MB_LEN_MAX];
    const std::size_t written = std::wcrtomb(bytes, static_cast<wchar_t>(value), &state);
    if (written == static_cast<std::size_t>(-1))
        return false;
    to.append(bytes, written);
    return true;
}

} // namespace

result_t Convert(std::u16string_view from, std::string& to) noexcept { return ConvertStrictly(from, to); }
result_t Convert(std::u16string_view from, types::string8_t& to) noexcept { return ConvertStrictly(from, to); }
result_t Convert(std::string_view from, std::u16string& to) noexcept { return ConvertStrictly(from, to); }
result_t Convert(std::string_view from, types::string16_t& to) noexcept { return ConvertStrictly(from, to); }

template <>
std::string Cast<std::string>(std::u16string_view from) {
    return Converted<std::string>(from);
}

template <>
types::string8_t Cast<types::string8_t>(std::u16string_view from) {
    return Converted<types::string8_t>(from);
}

template <>
types::string16_t Cast<types::string16_t>(std::string_view from) {
    return Converted<types::string16_t>(from);
}

template <>
std::u16string Cast<std::u16string>(std::string_view from) {
    return Converted<std::u16string>(from);
}

types::string16_t FromLocale(std::string_view from) {
    types::string16_t to;
    std::mbstate_t state{};
    for (std::size_t at = 0; at < from.size();) {
        wchar_t wide = 0;
        const std::size_t taken = std::mbrtowc(&wide, from.data() + at, from.size() - at, &state);
        if (taken == static_cast<std::size_t>(-1) || taken == static_cast<std::size_t>(-2))
            throw std::bad_cast();
        const auto value = static_cast<utf::code_point>(wide);
        if (value <= kGreatestUnit)
            to.push_back(static_cast<char16_t>(value));
        at += taken == 0 ? 1 : taken; // a zero character reports no length
    }
    return to;
}

std::string ToLocale(std::u16string_view from) {
    std::string to;
    std::mbstate_t state{};
    for (std::size_t at = 0; at < from.size();) {
        const auto point = Decode(from, at);
        if (!point)
            throw std::bad_cast();
        at += point->length;
        if (point->value > kGreatestUnit)
            continue;
        if (!AppendInLocale(to, point->value, state))
            throw std::bad_cast();
    }
    return to;
}

std::string ToLocaleLossy(std::string_view from) {
    std::string to;
    std::mbstate_t state{};
    for (std::size_t at = 0; at < from.size();) {
        const auto point = Decode(from, at);
        at += point ? point->length : 1;
        if (point && AppendInLocale(to, point->value, state))
            continue;
        to += '?';
        state = {}; // a failure leaves it undefined
    }
    return to;
}

std::string ToUtf8Lossy(std::u16string_view from) { return ConvertLossily<char16_t, std::string>(from); }
types::string16_t ToUtf16Lossy(std::string_view from) { return ConvertLossily<char, types::string16_t>(from); }

} // namespace ulk::text
