// SPDX-License-Identifier: GPL-2.0-or-later
// Tagged values, as events carry them, and typed structures behind one handle.
#pragma once

#include <foundation/string16.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace ulk::types {

template <class T>
using vector_t = std::vector<T>;

/// Date and time in 100 ns units since 1601-01-01 UTC.
struct FileTime {
    std::int64_t ticks = 0;
    friend bool operator==(const FileTime&, const FileTime&) = default;
};

/// A tagged value. The tag numbers are part of the service's contract.
class variant_t {
public:
    enum class Tag : std::uint32_t {
        Empty = 0,
        Bool = 2,
        Int32 = 5,
        Int64 = 6,
        UInt32 = 9,
        UInt64 = 10,
        DateTime = 12,
        Text = 14,
        Text16 = 15,
        Vector = 0x1007,
    };
    using Vector = std::vector<variant_t>;

    variant_t() = default;
    variant_t(bool v) : m_value(v) {}
    variant_t(std::int32_t v) : m_value(v) {}
    variant_t(std::int64_t v) : m_value(v) {}
    variant_t(std::uint32_t v) : m_value(v) {}
    variant_t(std::uint64_t v) : m_value(v) {}
    variant_t(FileTime v) : m_value(v) {}
    variant_t(std::string v) : m_value(std::move(v)) {}
    variant_t(const char* v) : m_value(std::string(v)) {}
    variant_t(string16_t v) : m_value(std::move(v)) {}
    variant_t(Vector v) : m_value(std::move(v)) {}

    Tag tag() const noexcept;
    /// Null where the tag is another.
    template <class T>
    const T* As() const noexcept {
        return std::get_if<T>(&m_value);
    }
    /// Calls `visitor` with the value that is held; std::monostate where it is empty.
    template <class Visitor>
    decltype(auto) Visit(Visitor&& visitor) const {
        return std::visit(std::forward<Visitor>(visitor), m_value);
    }
    friend bool operator==(const variant_t&, const variant_t&) = default;

private:
    std::variant<std::monostate, bool, std::int32_t, std::int64_t, std::uint32_t, std::uint64_t, FileTime, std::string,
                 string16_t, Vector>
        m_value;
};

/// Text form of a scalar: "yes"/"no", decimal numbers, local time as "%Y-%m-%d %H:%M:%S", texts as UTF-8 with '?' for
/// what doesn't decode. An empty value and a vector throw std::invalid_argument "Unknown type in VariantToString", a
/// date before 1970 or one that local time can't express ulk::datetime::TimeSystemError.
std::string VariantToString(const variant_t& value);
/// Any integer tag widened; false for every other tag and for a value that doesn't fit.
bool VariantToInteger(const variant_t& value, std::int64_t& out) noexcept;

/// A typed structure behind one handle; the type is told by T::TypeNumber.
class any_struct_t {
public:
    any_struct_t() = default;
    template <class T>
    void Set(T value) {
        m_type = T::TypeNumber;
        m_value = std::make_shared<const T>(std::move(value));
    }
    /// Null where the structure is absent or of another type.
    template <class T>
    const T* Get() const noexcept {
        return m_value && m_type == T::TypeNumber ? static_cast<const T*>(m_value.get()) : nullptr;
    }
    bool empty() const noexcept { return !m_value; }
    std::uint32_t type() const noexcept { return m_type; }

private:
    std::uint32_t m_type = 0;
    std::shared_ptr<const void> m_value;
};

} // namespace ulk::types
