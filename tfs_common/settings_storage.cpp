// SPDX-License-Identifier: GPL-2.0-or-later
#include <tfs_common/settings_storage.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <utility>
#include <vector>

namespace tfs::settings {
namespace {

constexpr std::string_view ElementPrefix = "item_";
constexpr std::size_t IndexDigits = 4;

std::string ElementName(std::size_t index) {
    char digits[24];
    std::snprintf(digits, sizeof(digits), "%04d", static_cast<int>(index));
    return std::string(ElementPrefix) + digits;
}

/// Nothing for what isn't "item_" and four digits.
std::optional<std::size_t> ElementIndex(std::string_view name) {
    if (!name.starts_with(ElementPrefix) || name.size() != ElementPrefix.size() + IndexDigits)
        return std::nullopt;
    std::size_t index = 0;
    for (const char digit : name.substr(ElementPrefix.size())) {
        if (digit < '0' || digit > '9')
            return std::nullopt;
        index = index * 10 + static_cast<std::size_t>(digit - '0');
    }
    return index;
}

class StorageNode final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, IStorage> {
public:
    StorageNode(std::string name, const ValueType& type, const void* value) : m_name(std::move(name)), m_type(type) {
        if (type.kind == ValueKind::List) {
            for (std::size_t i = 0; i < type.count(value); ++i)
                AddChild(ElementName(i), *type.element, type.at(value, i));
        } else if (type.kind == ValueKind::Structure) {
            for (const Member& member : type.members)
                AddChild(std::string(member.name), member.type, member.AddressIn(value));
        } else {
            m_value = type.read(value);
        }
    }

    std::string_view Name() const noexcept override { return m_name; }
    const ValueType& Type() const noexcept override { return m_type; }
    const ulk::types::variant_t& Value() const noexcept override { return m_value; }
    result_t SetValue(ulk::types::variant_t value) override {
        if (!m_type.IsLeaf() || value.tag() != m_value.tag())
            return ulk::eInvalidType;
        m_value = std::move(value);
        return ulk::sOk;
    }
    std::size_t ChildCount() const noexcept override { return m_children.size(); }
    IStorage& Child(std::size_t index) const noexcept override { return *m_children[index]; }
    result_t AppendElement() override {
        if (m_type.kind != ValueKind::List)
            return ulk::eInvalidType;
        if (m_children.size() >= static_cast<std::size_t>(m_type.greatest))
            return ulk::eInsufficientResources;
        AddChild(ElementName(m_children.size()), *m_type.element, m_type.element->makeDefault().get());
        return ulk::sOk;
    }
    result_t RemoveElements() override {
        if (m_type.kind != ValueKind::List)
            return ulk::eInvalidType;
        m_children.clear();
        return ulk::sOk;
    }

private:
    ~StorageNode() override = default;
    void AddChild(std::string name, const ValueType& type, const void* value) {
        m_children.push_back(ulk::Ptr<StorageNode>::Adopt(new StorageNode(std::move(name), type, value)));
    }

    const std::string m_name;
    const ValueType& m_type;
    ulk::types::variant_t m_value;
    std::vector<ulk::Ptr<StorageNode>> m_children;
};

/// Null where there is none.
IStorage* FindMember(const IStorage& node, std::string_view name) {
    if (IsReservedName(name))
        return nullptr;
    for (std::size_t i = 0; i < node.ChildCount(); ++i)
        if (node.Child(i).Name() == name)
            return &node.Child(i);
    return nullptr;
}

IStorage* FindElement(IStorage& node, std::string_view name) {
    const auto index = ElementIndex(name);
    if (!index || *index > node.ChildCount())
        return nullptr;
    if (*index == node.ChildCount() && !ULK_SUCCEEDED(node.AppendElement()))
        return nullptr;
    return &node.Child(*index);
}

void Visit(const IStorage& node, const std::string& prefix,
           const std::function<void(const std::string&, const IStorage&)>& visit) {
    for (std::size_t i = 0; i < node.ChildCount(); ++i) {
        const IStorage& child = node.Child(i);
        if (IsReservedName(child.Name()))
            continue;
        const std::string key = prefix + std::string(child.Name());
        if (child.Type().kind != ValueKind::Structure)
            visit(key, child);
        Visit(child, key + '.', visit);
    }
}

} // namespace

objptr_t<IStorage> MakeStorage(std::string_view name, const ValueType& type, const void* value) {
    return objptr_t<IStorage>::Adopt(new StorageNode(std::string(name), type, value));
}

void ReadStorage(const IStorage& node, void* value) {
    const ValueType& type = node.Type();
    if (type.IsLeaf()) {
        type.write(value, node.Value());
    } else if (type.kind == ValueKind::List) {
        type.clear(value);
        for (std::size_t i = 0; i < node.ChildCount(); ++i)
            ReadStorage(node.Child(i), type.append(value));
    } else {
        for (std::size_t i = 0; i < type.members.size(); ++i)
            ReadStorage(node.Child(i), type.members[i].address(value));
    }
}

IStorage* FindNode(IStorage& root, std::string_view key) {
    IStorage* node = &root;
    while (node != nullptr) {
        const std::size_t dot = std::min(key.find('.'), key.size());
        const std::string_view part = key.substr(0, dot);
        node = node->Type().kind == ValueKind::List ? FindElement(*node, part) : FindMember(*node, part);
        if (dot == key.size())
            return node;
        key.remove_prefix(dot + 1);
    }
    return nullptr;
}

void ForEachSetting(const IStorage& root, const std::function<void(const std::string&, const IStorage&)>& visit) {
    Visit(root, {}, visit);
}

} // namespace tfs::settings
