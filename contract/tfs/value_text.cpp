// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/value_text.h>

#include <stdexcept>

namespace tfs::types {
namespace {

std::string TypeName(const ValueTable& table) { return std::string(table.TableName()) + "::Type"; }

[[noreturn]] void FailParse(const std::string& typeName, std::string_view text) {
    throw std::invalid_argument("There is no such '" + typeName + "' value: " + std::string(text));
}

} // namespace

std::string ToString(const ValueTable& table, std::int32_t value) {
    const std::string_view name = table.Name(value);
    if (name.empty())
        throw std::invalid_argument("Invalid value provided: " + std::to_string(static_cast<std::uint32_t>(value)) +
                                    " for type " + TypeName(table));
    return std::string(name);
}

std::int32_t FromString(std::string_view text, const ValueTable& table) {
    const auto value = table.Value(text);
    if (!value)
        FailParse(TypeName(table), text);
    return *value;
}

void FromString(std::string_view text, bool& value) {
    if (text == "yes" || text == "true")
        value = true;
    else if (text == "no" || text == "false")
        value = false;
    else
        FailParse("bool", text);
}

} // namespace tfs::types
