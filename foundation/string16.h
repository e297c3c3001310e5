// SPDX-License-Identifier: GPL-2.0-or-later
// The framework's string: zero-terminated, with an inline buffer for short texts.
#pragma once

#include <foundation/object.h>

#include <compare>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

namespace ulk::types {

/// A string of Char. Fields: data (always zero-terminated), size, capacity, allocator (may be null, then malloc and
/// free serve), and an inline buffer of 7 characters for char16_t and 15 for char.
/// Growth takes the larger of twice the capacity and the size needed; a request beyond max_size throws
/// std::length_error. Copies share nothing. Not thread-safe beyond concurrent reading.
template <class Char, class Traits = std::char_traits<Char>, class Allocator = IAllocator>
class basic_string_t {
public:
    using value_type = Char;
    using traits_type = Traits;
    using view = std::basic_string_view<Char, Traits>;
    using iterator = Char*;
    using const_iterator = const Char*;
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);
    static constexpr std::size_t InlineCapacity = sizeof(Char) == 1 ? 15 : 7;

    basic_string_t() noexcept { Reset(); }
    explicit basic_string_t(Allocator* allocator) noexcept;
    basic_string_t(const Char* text) : basic_string_t(text ? view(text) : view()) {}
    basic_string_t(const Char* text, std::size_t size) : basic_string_t(view(text, size)) {}
    basic_string_t(view text) : basic_string_t() { append(text); }
    basic_string_t(std::size_t count, Char c) : basic_string_t() { resize(count, c); }
    basic_string_t(const basic_string_t& other) : basic_string_t(view(other)) {}
    basic_string_t(basic_string_t&& other) noexcept;
    ~basic_string_t();
    basic_string_t& operator=(const basic_string_t& other);
    basic_string_t& operator=(basic_string_t&& other) noexcept;

    operator view() const noexcept { return view(m_data, m_size); }
    const Char* c_str() const noexcept { return m_data; }
    const Char* data() const noexcept { return m_data; }
    Char* data() noexcept { return m_data; }
    std::size_t size() const noexcept { return m_size; }
    std::size_t length() const noexcept { return m_size; }
    std::size_t capacity() const noexcept { return m_capacity; }
    bool empty() const noexcept { return m_size == 0; }
    static constexpr std::size_t max_size() noexcept { return (npos / 2) / sizeof(Char) - 1; }
    Char operator[](std::size_t index) const noexcept { return m_data[index]; }
    Char& operator[](std::size_t index) noexcept { return m_data[index]; }
    Char back() const noexcept { return m_data[m_size - 1]; }
    iterator begin() noexcept { return m_data; }
    iterator end() noexcept { return m_data + m_size; }
    const_iterator begin() const noexcept { return m_data; }
    const_iterator end() const noexcept { return m_data + m_size; }

    /// Room for `extra` more characters. Throws std::length_error "ulk::basic_string_t::reserve_extra()".
    void reserve_extra(std::size_t extra);
    /// Makes the string `index` + `size` long; everything from `index` on becomes `fill`, as does the gap where
    /// `index` lies behind the end. Throws std::length_error "ulk::basic_string_t::resize_extra_at".
    void resize_extra_at(std::size_t index, std::size_t size, Char fill);
    void resize(std::size_t size, Char fill = Char());
    void clear() noexcept;
    basic_string_t& append(view text);
    basic_string_t& append(std::size_t count, Char c);
    void push_back(Char c) { append(view(&c, 1)); }
    basic_string_t& operator+=(view text) { return append(text); }
    basic_string_t& operator+=(Char c) { return append(view(&c, 1)); }
    basic_string_t substr(std::size_t from, std::size_t count = npos) const {
        return basic_string_t(view(*this).substr(from, count));
    }
    std::size_t find(view text, std::size_t from = 0) const noexcept { return view(*this).find(text, from); }
    std::size_t rfind(Char c, std::size_t from = npos) const noexcept { return view(*this).rfind(c, from); }
    void swap(basic_string_t& other) noexcept;

    friend bool operator==(const basic_string_t& a, const basic_string_t& b) noexcept { return view(a) == view(b); }
    friend bool operator==(const basic_string_t& a, const Char* b) noexcept { return view(a) == view(b); }
    friend auto operator<=>(const basic_string_t& a, const basic_string_t& b) noexcept { return view(a) <=> view(b); }
    friend basic_string_t operator+(basic_string_t a, view b) {
        a.append(b);
        return a;
    }

private:
    void Reset() noexcept;
    bool IsInline() const noexcept { return m_data == m_inline; }
    std::size_t GrownCapacity(std::size_t needed) const noexcept;
    Char* Allocate(std::size_t capacity) const;
    void Free() noexcept;
    void Adopt(Char* data, std::size_t capacity) noexcept;
    void TakeFrom(basic_string_t& other) noexcept;

    Char* m_data;
    std::size_t m_size;
    std::size_t m_capacity;
    Allocator* m_allocator;
    Char m_inline[InlineCapacity + 1];
};

using string16_t = basic_string_t<char16_t>;
using string8_t = basic_string_t<char>;

extern template class basic_string_t<char16_t>;
extern template class basic_string_t<char>;

} // namespace ulk::types

template <class Char, class Traits, class Allocator>
struct std::hash<ulk::types::basic_string_t<Char, Traits, Allocator>> {
    std::size_t operator()(const ulk::types::basic_string_t<Char, Traits, Allocator>& text) const noexcept {
        return std::hash<std::basic_string_view<Char, Traits>>()(text);
    }
};

namespace ulk::text {

/// Conversions between UTF-16 and UTF-8: `Cast<std::string>(utf16)` and `Cast<string8_t>(utf16)` give UTF-8,
/// `Cast<string16_t>(utf8)` UTF-16, from either narrow string. A text that can't be converted (lone surrogate, broken
/// UTF-8) throws std::bad_cast; short memory throws std::bad_alloc.
template <class To>
To Cast(std::u16string_view from);
template <class To>
To Cast(std::string_view from);

template <>
std::string Cast<std::string>(std::u16string_view from);
template <>
types::string8_t Cast<types::string8_t>(std::u16string_view from);
template <>
types::string16_t Cast<types::string16_t>(std::string_view from);
template <>
std::u16string Cast<std::u16string>(std::string_view from);

/// Between UTF-16 and the multi-byte form of the process's locale, character by character. A character that the
/// other side can't express at all throws std::bad_cast; a character above 0xFFFF is left out.
types::string16_t FromLocale(std::string_view from);
std::string ToLocale(std::u16string_view from);
/// From UTF-8 to the same form, code point by code point and without an exception: each byte that doesn't decode and
/// each character that the locale can't express becomes '?'.
std::string ToLocaleLossy(std::string_view from);

/// The converters behind Cast: eInvalidArgument where the text is broken, eOutOfMemory where memory is short. `to` is
/// only changed on success.
result_t Convert(std::u16string_view from, std::string& to) noexcept;
result_t Convert(std::u16string_view from, types::string8_t& to) noexcept;
result_t Convert(std::string_view from, std::u16string& to) noexcept;
result_t Convert(std::string_view from, types::string16_t& to) noexcept;

/// The same without an exception, for display: each byte or unit that doesn't decode becomes '?'.
std::string ToUtf8Lossy(std::u16string_view from);
types::string16_t ToUtf16Lossy(std::string_view from);

} // namespace ulk::text
