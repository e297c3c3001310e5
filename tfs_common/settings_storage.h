// SPDX-License-Identifier: GPL-2.0-or-later
// The storage tree: a settings structure laid out as named nodes, on which change lists work.
#pragma once

#include <contract/tfs/variant.h>
#include <foundation/object.h>
#include <tfs_common/settings_description.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace tfs::settings {

template <class T>
using objptr_t = ulk::Ptr<T>;

/// One node. A tree belongs to one thread at a time.
class IStorage : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x57A6E0D1u;

    /// "root" at the top, a member's name, or "item_0000" and so on in a list.
    virtual std::string_view Name() const noexcept = 0;
    /// Of constant data: outlives the tree.
    virtual const ValueType& Type() const noexcept = 0;
    /// Empty for a structure and a list.
    virtual const ulk::types::variant_t& Value() const noexcept = 0;
    /// eInvalidType where the node is no leaf or the value isn't of the type that it holds.
    virtual result_t SetValue(ulk::types::variant_t value) = 0;
    /// Children in the order of the description, reserved names among them.
    virtual std::size_t ChildCount() const noexcept = 0;
    /// Lives as long as this node. `index` is below ChildCount().
    virtual IStorage& Child(std::size_t index) const noexcept = 0;
    /// Appends a default element. eInvalidType where the node is no list, eInsufficientResources where it is full.
    virtual result_t AppendElement() = 0;
    /// eInvalidType where the node is no list.
    virtual result_t RemoveElements() = 0;

protected:
    ~IStorage() = default;
};

/// Lays a value of that type out under a node of that name.
objptr_t<IStorage> MakeStorage(std::string_view name, const ValueType& type, const void* value);

/// Writes a tree back into a value of the type that it was made of.
void ReadStorage(const IStorage& node, void* value);

/// The node of a dotted key below `root`, null where there is none; reserved names aren't found. An index one behind
/// a list's end appends an element.
IStorage* FindNode(IStorage& root, std::string_view key);

/// Calls `visit(key, node)` for each leaf and each list below `root`, a list before its elements; reserved names are
/// left out.
void ForEachSetting(const IStorage& root, const std::function<void(const std::string&, const IStorage&)>& visit);

} // namespace tfs::settings
