// SPDX-License-Identifier: GPL-2.0-or-later
// Identifiers of 128 bits, kept as the 16 bytes that they print as.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace ulk {

struct Guid {
    std::array<std::uint8_t, 16> bytes{};
    friend bool operator==(const Guid&, const Guid&) = default;
};

/// 32 upper-case hexadecimal digits in groups of 8, 4, 4, 4 and 12, joined by "-".
std::string GuidToString(const Guid& guid);
/// Reads the form that GuidToString writes, in either case. Anything else throws std::invalid_argument
/// "Invalid GUID.".
Guid GuidFromString(std::string_view text);

} // namespace ulk
