// SPDX-License-Identifier: GPL-2.0-or-later
// Descriptions of settings structures: which members there are, under which keys, of which type, and what each may
// hold. The one description that change lists, the service's settings and the command line share. Constant data, made
// by the compiler; everything here may be used from any thread.
#pragma once

#include <contract/tfs/value_tables.h>
#include <contract/tfs/variant.h>
#include <tfs_common/setting_keys.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace tfs::settings {

enum class ValueKind {
    Boolean,    ///< carried as bool
    Integer,    ///< carried as a signed 64-bit number
    Enumerated, ///< carried as the 32-bit number, written as the table's text name
    Path,       ///< carried as narrow text: absolute, without NUL and without a ".." component
    Text,       ///< carried as narrow text
    Structure,
    List,
};

inline constexpr std::size_t GreatestPathLength = 4095; ///< bytes
inline constexpr std::size_t GreatestListLength = 9999; ///< an index has four digits

struct Member;

/// What a setting holds, and how to get at it in memory. Each access function takes the address of a value of the
/// described C++ type. Null where the kind has no use for it.
struct ValueType {
    ValueKind kind;
    std::int64_t least = 0;                                     ///< Integer
    std::int64_t greatest = 0;                                  ///< Integer; Path and Text: bytes; List: elements
    const types::ValueTable& (*table)() noexcept = nullptr;     ///< Enumerated
    std::span<const Member> members{};                          ///< Structure
    const ValueType* element = nullptr;                         ///< List
    ulk::types::variant_t (*read)(const void* value) = nullptr; ///< all but Structure and List
    void (*write)(void* value, const ulk::types::variant_t&) = nullptr; ///< the same; the tag must be the one of read
    std::size_t (*count)(const void* list) = nullptr;                   ///< List
    const void* (*at)(const void* list, std::size_t index) = nullptr;   ///< List
    void (*clear)(void* list) = nullptr;                                ///< List
    void* (*append)(void* list) = nullptr;                              ///< List; a default element, its address
    std::shared_ptr<const void> (*makeDefault)() = nullptr;             ///< a default value of the C++ type

    constexpr bool IsLeaf() const noexcept { return kind != ValueKind::Structure && kind != ValueKind::List; }
};

/// One member of a structure.
struct Member {
    std::string_view name; ///< one part of a dotted key
    ValueType type;
    void* (*address)(void* structure); ///< of the member within the structure

    const void* AddressIn(const void* structure) const { return address(const_cast<void*>(structure)); }
};

/// A ValueType that remembers the C++ type it describes, so that the compiler refuses a wrong one for a member.
template <class T>
struct TypeOf : ValueType {};

/// A whole settings structure.
struct StructureDescription {
    std::uint32_t typeNumber;
    ValueType type; ///< of kind Structure
    /// The address of the structure in a holder; null where the holder is empty or of another type.
    const void* (*find)(const ulk::types::any_struct_t& holder);
    /// A holder with a copy of the structure in `holder` after `change` had its address. `holder` isn't empty.
    ulk::types::any_struct_t (*changed)(const ulk::types::any_struct_t& holder,
                                        const std::function<void(void*)>& change);
};

namespace detail {

template <class Pointer>
struct MemberPointer;
template <class Owner, class Value>
struct MemberPointer<Value Owner::*> {
    using OwnerType = Owner;
    using ValueType = Value;
};

template <class T, class Carried>
constexpr TypeOf<T> Leaf(ValueKind kind, std::int64_t least, std::int64_t greatest) {
    TypeOf<T> type{};
    type.kind = kind;
    type.least = least;
    type.greatest = greatest;
    type.read = [](const void* value) {
        return ulk::types::variant_t(static_cast<Carried>(*static_cast<const T*>(value)));
    };
    type.write = [](void* value, const ulk::types::variant_t& from) {
        *static_cast<T*>(value) = static_cast<T>(*from.As<Carried>());
    };
    type.makeDefault = []() -> std::shared_ptr<const void> { return std::make_shared<const T>(); };
    return type;
}

constexpr ValueKind KindOf(const SettingKey& key) {
    switch (key.kind) {
    case SettingKeyKind::Boolean:
        return ValueKind::Boolean;
    case SettingKeyKind::Numeric:
        return ValueKind::Integer;
    case SettingKeyKind::Enumerated:
        break;
    }
    return ValueKind::Enumerated;
}

} // namespace detail

constexpr TypeOf<bool> Boolean() { return detail::Leaf<bool, bool>(ValueKind::Boolean, 0, 0); }

/// Both ends belong to the range.
template <class T>
constexpr TypeOf<T> Integer(std::int64_t least, std::int64_t greatest) {
    static_assert(std::is_integral_v<T> && sizeof(T) >= sizeof(std::int32_t));
    return detail::Leaf<T, std::int64_t>(ValueKind::Integer, least, greatest);
}

/// `Named` is one of the structs of contract/tfs/value_tables.h.
template <class Named>
constexpr TypeOf<typename Named::Type> Enumerated() {
    auto type = detail::Leaf<typename Named::Type, std::int32_t>(ValueKind::Enumerated, 0, 0);
    type.table = &Named::Table;
    return type;
}

constexpr TypeOf<std::string> Path() {
    return detail::Leaf<std::string, std::string>(ValueKind::Path, 0, GreatestPathLength);
}

constexpr TypeOf<std::string> Text(std::size_t greatestLength) {
    return detail::Leaf<std::string, std::string>(ValueKind::Text, 0, static_cast<std::int64_t>(greatestLength));
}

/// `members` must be constants.
template <class T>
constexpr TypeOf<T> Structure(std::span<const Member> members) {
    TypeOf<T> type{};
    type.kind = ValueKind::Structure;
    type.members = members;
    type.makeDefault = []() -> std::shared_ptr<const void> { return std::make_shared<const T>(); };
    return type;
}

/// `element` must be a constant. An element's part of a key is "item_" and its index in four digits.
template <class T>
constexpr TypeOf<std::vector<T>> List(const TypeOf<T>& element, std::size_t greatestLength = GreatestListLength) {
    using Vector = std::vector<T>;
    static_assert(!std::is_same_v<T, bool>, "its elements have no address");
    TypeOf<Vector> type{};
    type.kind = ValueKind::List;
    type.greatest = static_cast<std::int64_t>(greatestLength);
    type.element = &element;
    type.count = [](const void* list) { return static_cast<const Vector*>(list)->size(); };
    type.at = [](const void* list, std::size_t index) -> const void* {
        return &(*static_cast<const Vector*>(list))[index];
    };
    type.clear = [](void* list) { static_cast<Vector*>(list)->clear(); };
    type.append = [](void* list) -> void* { return &static_cast<Vector*>(list)->emplace_back(); };
    type.makeDefault = []() -> std::shared_ptr<const void> { return std::make_shared<const Vector>(); };
    return type;
}

/// A member, as in `Describe<&AppSettings::useSyslog>("UseSyslog", Boolean())`.
template <auto Pointer>
constexpr Member Describe(std::string_view name,
                          const TypeOf<typename detail::MemberPointer<decltype(Pointer)>::ValueType>& type) {
    using Owner = typename detail::MemberPointer<decltype(Pointer)>::OwnerType;
    return {name, type, [](void* structure) -> void* { return &(static_cast<Owner*>(structure)->*Pointer); }};
}

/// A member under a key of the product's vocabulary. A type of another kind than the key's doesn't compile.
template <auto Pointer>
consteval Member Describe(const SettingKey& key,
                          const TypeOf<typename detail::MemberPointer<decltype(Pointer)>::ValueType>& type) {
    if (type.kind != detail::KindOf(key) || type.table != key.table)
        throw "the key is of another kind";
    return Describe<Pointer>(key.name, type);
}

/// `T` names its own TypeNumber.
template <class T>
constexpr StructureDescription DescribeStructure(std::span<const Member> members) {
    using ulk::types::any_struct_t;
    return {T::TypeNumber, Structure<T>(members),
            [](const any_struct_t& holder) -> const void* { return holder.Get<T>(); },
            [](const any_struct_t& holder, const std::function<void(void*)>& change) {
                T copy = *holder.Get<T>();
                change(&copy);
                any_struct_t result;
                result.Set(std::move(copy));
                return result;
            }};
}

/// Names that a change list never addresses: "unique_id" and whatever begins with "nodisplay_". Their values travel
/// with the structure unchanged.
constexpr bool IsReservedName(std::string_view name) noexcept {
    return name == "unique_id" || name.starts_with("nodisplay_");
}

/// The description of the structure with that type number; null where there is none.
const StructureDescription* FindStructure(std::uint32_t typeNumber) noexcept;

} // namespace tfs::settings
