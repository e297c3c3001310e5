// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/string16.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <utility>

namespace ulk::types {

template <class Char, class Traits, class Allocator>
basic_string_t<Char, Traits, Allocator>::basic_string_t(Allocator* allocator) noexcept {
    Reset();
    m_allocator = allocator;
}

template <class Char, class Traits, class Allocator>
basic_string_t<Char, Traits, Allocator>::basic_string_t(basic_string_t&& other) noexcept {
    Reset();
    TakeFrom(other);
}

template <class Char, class Traits, class Allocator>
basic_string_t<Char, Traits, Allocator>::~basic_string_t() {
    Free();
}

template <class Char, class Traits, class Allocator>
basic_string_t<Char, Traits, Allocator>&
basic_string_t<Char, Traits, Allocator>::operator=(const basic_string_t& other) {
    if (this == &other)
        return *this;
    if (other.m_size > m_capacity) {
        const std::size_t capacity = GrownCapacity(other.m_size);
        Adopt(Allocate(capacity), capacity);
    }
    Traits::copy(m_data, other.m_data, other.m_size + 1);
    m_size = other.m_size;
    return *this;
}

template <class Char, class Traits, class Allocator>
basic_string_t<Char, Traits, Allocator>&
basic_string_t<Char, Traits, Allocator>::operator=(basic_string_t&& other) noexcept {
    if (this != &other) {
        Free();
        Reset();
        TakeFrom(other);
    }
    return *this;
}

template <class Char, class Traits, class Allocator>
void basic_string_t<Char, Traits, Allocator>::reserve_extra(std::size_t extra) {
    if (extra > max_size() - m_size)
        throw std::length_error("ulk::basic_string_t::reserve_extra()");
    const std::size_t needed = m_size + extra;
    if (needed <= m_capacity)
        return;
    const std::size_t capacity = GrownCapacity(needed);
    Char* data = Allocate(capacity);
    Traits::copy(data, m_data, m_size + 1);
    Adopt(data, capacity);
}

template <class Char, class Traits, class Allocator>
void basic_string_t<Char, Traits, Allocator>::resize_extra_at(std::size_t index, std::size_t size, Char fill) {
    if (index > max_size() || size > max_size() - index)
        throw std::length_error("ulk::basic_string_t::resize_extra_at");
    const std::size_t newSize = index + size;
    if (newSize > m_size)
        reserve_extra(newSize - m_size);
    const std::size_t kept = std::min(index, m_size);
    Traits::assign(m_data + kept, newSize - kept, fill);
    m_size = newSize;
    m_data[m_size] = Char();
}

template <class Char, class Traits, class Allocator>
void basic_string_t<Char, Traits, Allocator>::resize(std::size_t size, Char fill) {
    if (size > m_size) {
        resize_extra_at(m_size, size - m_size, fill);
    } else {
        m_size = size;
        m_data[m_size] = Char();
    }
}

template <class Char, class Traits, class Allocator>
void basic_string_t<Char, Traits, Allocator>::clear() noexcept {
    m_size = 0;
    m_data[0] = Char();
}

template <class Char, class Traits, class Allocator>
basic_string_t<Char, Traits, Allocator>& basic_string_t<Char, Traits, Allocator>::append(view text) {
    if (text.empty())
        return *this;
    // The text may be a part of this string: where the buffer moves, the old one is freed after the copy.
    if (text.size() > m_capacity - m_size) {
        if (text.size() > max_size() - m_size)
            throw std::length_error("ulk::basic_string_t::reserve_extra()");
        const std::size_t capacity = GrownCapacity(m_size + text.size());
        Char* data = Allocate(capacity);
        Traits::copy(data, m_data, m_size);
        Traits::copy(data + m_size, text.data(), text.size());
        Adopt(data, capacity);
    } else {
        Traits::move(m_data + m_size, text.data(), text.size());
    }
    m_size += text.size();
    m_data[m_size] = Char();
    return *this;
}

template <class Char, class Traits, class Allocator>
basic_string_t<Char, Traits, Allocator>& basic_string_t<Char, Traits, Allocator>::append(std::size_t count, Char c) {
    resize_extra_at(m_size, count, c);
    return *this;
}

template <class Char, class Traits, class Allocator>
void basic_string_t<Char, Traits, Allocator>::swap(basic_string_t& other) noexcept {
    basic_string_t held(std::move(other));
    other = std::move(*this);
    *this = std::move(held);
}

template <class Char, class Traits, class Allocator>
void basic_string_t<Char, Traits, Allocator>::Reset() noexcept {
    m_data = m_inline;
    m_size = 0;
    m_capacity = InlineCapacity;
    m_allocator = nullptr;
    m_inline[0] = Char();
}

template <class Char, class Traits, class Allocator>
std::size_t basic_string_t<Char, Traits, Allocator>::GrownCapacity(std::size_t needed) const noexcept {
    // Twice the inline 15 of a narrow string are the 30 characters that its first allocation takes at least.
    const std::size_t doubled = m_capacity > max_size() / 2 ? max_size() : m_capacity * 2;
    return std::max(doubled, needed);
}

template <class Char, class Traits, class Allocator>
Char* basic_string_t<Char, Traits, Allocator>::Allocate(std::size_t capacity) const {
    const std::size_t bytes = (capacity + 1) * sizeof(Char);
    void* memory = m_allocator != nullptr ? m_allocator->Alloc(bytes) : std::malloc(bytes);
    if (memory == nullptr)
        throw std::bad_alloc();
    return static_cast<Char*>(memory);
}

template <class Char, class Traits, class Allocator>
void basic_string_t<Char, Traits, Allocator>::Free() noexcept {
    if (IsInline())
        return;
    if (m_allocator != nullptr)
        m_allocator->Free(m_data);
    else
        std::free(m_data);
}

template <class Char, class Traits, class Allocator>
void basic_string_t<Char, Traits, Allocator>::Adopt(Char* data, std::size_t capacity) noexcept {
    Free();
    m_data = data;
    m_capacity = capacity;
}

/// This string is fresh from Reset; `other` is left empty and keeps its allocator.
template <class Char, class Traits, class Allocator>
void basic_string_t<Char, Traits, Allocator>::TakeFrom(basic_string_t& other) noexcept {
    m_allocator = other.m_allocator;
    m_size = other.m_size;
    if (other.IsInline()) {
        Traits::copy(m_inline, other.m_inline, other.m_size + 1);
    } else {
        m_data = other.m_data;
        m_capacity = other.m_capacity;
    }
    Allocator* const allocator = other.m_allocator;
    other.Reset();
    other.m_allocator = allocator;
}

template class basic_string_t<char16_t>;
template class basic_string_t<char>;

} // namespace ulk::types
