// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/guid.h>

#include <charconv>
#include <stdexcept>

namespace ulk {
namespace {

constexpr std::size_t kTextLength = 36;

/// A dash stands before these bytes.
constexpr bool StartsGroup(std::size_t byte) noexcept { return byte == 4 || byte == 6 || byte == 8 || byte == 10; }

} // namespace

std::string GuidToString(const Guid& guid) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(kTextLength);
    for (std::size_t i = 0; i < guid.bytes.size(); ++i) {
        if (StartsGroup(i))
            text += '-';
        text += kDigits[guid.bytes[i] >> 4];
        text += kDigits[guid.bytes[i] & 0x0F];
    }
    return text;
}

Guid GuidFromString(std::string_view text) {
    const std::invalid_argument invalid("Invalid GUID.");
    if (text.size() != kTextLength)
        throw invalid;
    Guid guid;
    const char* at = text.data();
    for (std::size_t i = 0; i < guid.bytes.size(); ++i) {
        if (StartsGroup(i) && *at++ != '-')
            throw invalid;
        const auto [end, error] = std::from_chars(at, at + 2, guid.bytes[i], 16);
        if (error != std::errc() || end != at + 2)
            throw invalid;
        at = end;
    }
    return guid;
}

} // namespace ulk
