// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/value_text.h>
#include <tfs_common/setting_value.h>

#include <charconv>
#include <cstdint>

namespace tfs::settings {
namespace {

using ulk::types::variant_t;

/// Bytes of a key or a value that a message repeats.
constexpr std::size_t LongestQuotation = 256;

std::int64_t ParseInteger(const ValueType& type, std::string_view text) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::invalid_argument || end != text.data() + text.size())
        throw ValueError(ValueFault::NotANumber, "not a whole number");
    if (error != std::errc() || value < type.least || value > type.greatest)
        throw ValueError(ValueFault::OutOfRange, "out of range");
    return value;
}

/// A component, not a part of a name: "/a/..b" goes nowhere.
bool ClimbsUp(std::string_view path) {
    while (!path.empty()) {
        const std::size_t slash = path.find('/');
        if (path.substr(0, slash) == "..")
            return true;
        path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
    }
    return false;
}

std::string ParseText(const ValueType& type, std::string_view text) {
    if (text.size() > static_cast<std::size_t>(type.greatest))
        throw ValueError(ValueFault::TooLong, "too long");
    if (text.find('\0') != std::string_view::npos)
        throw ValueError(ValueFault::NotAllowed, "NUL in a text");
    if (type.kind != ValueKind::Path)
        return std::string(text);
    if (!text.starts_with('/'))
        throw ValueError(ValueFault::NotAbsolute, "not an absolute path");
    if (ClimbsUp(text))
        throw ValueError(ValueFault::NotAllowed, "a path that climbs up");
    return std::string(text);
}

variant_t ParseWord(const ValueType& type, std::string_view text) {
    try {
        if (type.kind == ValueKind::Enumerated)
            return types::FromString(text, type.table());
        bool value = false;
        types::FromString(text, value);
        return value;
    } catch (const std::invalid_argument& e) {
        throw ValueError(ValueFault::NotNamed, e.what());
    }
}

ulk::types::string16_t Quoted(std::string_view text) {
    if (text.size() <= LongestQuotation)
        return ulk::text::ToUtf16Lossy(text);
    return ulk::text::ToUtf16Lossy(std::string(text.substr(0, LongestQuotation)) + "...");
}

ulk::types::string16_t Assignment(std::string_view key, std::string_view text) {
    return Quoted(key) + std::u16string_view(u"=") + Quoted(text);
}

ulk::types::string16_t Number(std::int64_t value) { return ulk::text::ToUtf16Lossy(std::to_string(value)); }

ValidationMessage DescribeWords(std::string_view key, const ValueType& type, std::string_view text) {
    if (type.kind == ValueKind::Boolean)
        return {"SettingShouldBeValueOrValue3", {Assignment(key, text), u"yes", u"no"}};
    const auto rows = type.table().Rows();
    std::string allButLast;
    for (const types::ValueRow& row : rows.first(rows.size() - 1))
        allButLast.append(allButLast.empty() ? "" : ", ").append(row.name);
    return {"SettingShouldBeValueOrValue3",
            {Assignment(key, text), ulk::text::ToUtf16Lossy(allButLast), ulk::text::ToUtf16Lossy(rows.back().name)}};
}

} // namespace

variant_t ParseValue(const ValueType& type, std::string_view text) {
    switch (type.kind) {
    case ValueKind::Boolean:
    case ValueKind::Enumerated:
        return ParseWord(type, text);
    case ValueKind::Integer:
        return ParseInteger(type, text);
    case ValueKind::Path:
    case ValueKind::Text:
        return ParseText(type, text);
    case ValueKind::List:
    case ValueKind::Structure:
        break;
    }
    throw ValueError(ValueFault::NotAllowed, "not a single value");
}

std::string PrintValue(const ValueType& type, const variant_t& value) {
    switch (type.kind) {
    case ValueKind::Boolean:
        return types::ToSettingText(*value.As<bool>());
    case ValueKind::Enumerated:
        return types::ToString(type.table(), *value.As<std::int32_t>());
    case ValueKind::Integer:
        return std::to_string(*value.As<std::int64_t>());
    case ValueKind::Path:
    case ValueKind::Text:
        return *value.As<std::string>();
    case ValueKind::List:
    case ValueKind::Structure:
        break;
    }
    return {};
}

ValidationMessage DescribeFault(ValueFault fault, std::string_view key, const ValueType& type, std::string_view text) {
    switch (fault) {
    case ValueFault::NotANumber:
        return {"SettingValueIsNotValidInteger", {Assignment(key, text)}};
    case ValueFault::OutOfRange:
        return {"SettingValueIsOutOfRangeInt3", {Assignment(key, text), Number(type.least), Number(type.greatest)}};
    case ValueFault::NotNamed:
        return DescribeWords(key, type, text);
    case ValueFault::TooLong:
        return {"SettingIsTooLongAllowedSize2", {Assignment(key, text), Number(type.greatest)}};
    case ValueFault::NotAbsolute:
        return {"IncorrectSettingsPathShouldBeAbsolute2", {Quoted(text), Quoted(key)}};
    case ValueFault::NotAllowed:
        if (type.kind == ValueKind::Path)
            return {"IncorrectSettingsPathShouldBeAbsolute2", {Quoted(text), Quoted(key)}};
        break;
    }
    return {"InvalidValue1Settings2", {Quoted(text), Quoted(key)}};
}

ValidationMessage DescribeUnknownKey(std::string_view key, std::string_view text) {
    return {"UnsupportedSetting1", {Assignment(key, text)}};
}

} // namespace tfs::settings
