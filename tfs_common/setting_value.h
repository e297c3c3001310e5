// SPDX-License-Identifier: GPL-2.0-or-later
// One setting as text: read with its type's rules, written, and what is told about a text that breaks them. Any thread.
#pragma once

#include <contract/tfs/settings.h>
#include <contract/tfs/variant.h>
#include <tfs_common/settings_description.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace tfs::settings {

enum class ValueFault {
    NotANumber,
    OutOfRange,
    NotNamed, ///< none of the words that a boolean or an enumerated setting takes
    TooLong,
    NotAbsolute,
    NotAllowed, ///< NUL in a text, ".." in a path, a text where there may be none
};

/// A text that a setting doesn't take.
class ValueError : public std::invalid_argument {
public:
    ValueError(ValueFault fault, const std::string& text) : std::invalid_argument(text), m_fault(fault) {}
    ValueFault Fault() const noexcept { return m_fault; }

private:
    ValueFault m_fault;
};

/// Throws ValueError. `type` is a leaf's.
ulk::types::variant_t ParseValue(const ValueType& type, std::string_view text);
/// What ParseValue reads. A number that the table doesn't name throws std::invalid_argument.
std::string PrintValue(const ValueType& type, const ulk::types::variant_t& value);

/// Names the setting and the text that it doesn't take and, where that can be told, what it takes.
ValidationMessage DescribeFault(ValueFault fault, std::string_view key, const ValueType& type, std::string_view text);
/// Says that there is no such setting.
ValidationMessage DescribeUnknownKey(std::string_view key, std::string_view text);

} // namespace tfs::settings
