// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/variant.h>
#include <foundation/datetime.h>

#include <iterator>
#include <limits>
#include <stdexcept>
#include <type_traits>

namespace ulk::types {
namespace {

template <class T>
constexpr bool kIsInteger = std::is_integral_v<T> && !std::is_same_v<T, bool>;

} // namespace

variant_t::Tag variant_t::tag() const noexcept {
    // In the order of the alternatives.
    constexpr Tag kTags[] = {Tag::Empty,  Tag::Bool,     Tag::Int32, Tag::Int64,  Tag::UInt32,
                             Tag::UInt64, Tag::DateTime, Tag::Text,  Tag::Text16, Tag::Vector};
    static_assert(std::size(kTags) == std::variant_size_v<decltype(m_value)>);
    return kTags[m_value.index()];
}

std::string VariantToString(const variant_t& value) {
    return value.Visit([](const auto& held) -> std::string {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, bool>)
            return held ? "yes" : "no";
        else if constexpr (kIsInteger<Held>)
            return std::to_string(held);
        else if constexpr (std::is_same_v<Held, FileTime>)
            return datetime::Format(datetime::ToLocal(datetime::SecondsFromTicks(held.ticks)));
        else if constexpr (std::is_same_v<Held, std::string>)
            return text::ToUtf8Lossy(text::ToUtf16Lossy(held));
        else if constexpr (std::is_same_v<Held, string16_t>)
            return text::ToUtf8Lossy(held);
        else
            throw std::invalid_argument("Unknown type in VariantToString");
    });
}

bool VariantToInteger(const variant_t& value, std::int64_t& out) noexcept {
    return value.Visit([&out](const auto& held) {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (kIsInteger<Held>) {
            if constexpr (std::is_same_v<Held, std::uint64_t>) {
                if (held > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
                    return false;
            }
            out = static_cast<std::int64_t>(held);
            return true;
        } else {
            return false;
        }
    });
}

} // namespace ulk::types
