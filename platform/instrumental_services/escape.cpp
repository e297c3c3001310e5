// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/instrumental_services/escape.h>

#include <algorithm>
#include <cstdint>

namespace platform::instrumental {
namespace {

constexpr char kHex[] = "0123456789abcdef";

constexpr bool IsPlain(char c) { return c >= 0x20 && c < 0x7F && c != '\\'; }

void AppendByte(std::string& out, unsigned char byte) {
    switch (byte) {
    case '\\':
        out += "\\\\";
        return;
    case '\n':
        out += "\\n";
        return;
    case '\r':
        out += "\\r";
        return;
    case '\t':
        out += "\\t";
        return;
    default:
        out += "\\x";
        out += kHex[byte >> 4];
        out += kHex[byte & 0xF];
    }
}

/// Size of the well-formed UTF-8 sequence at the beginning of the text, 0 where there is none.
std::size_t Decode(std::string_view text, std::uint32_t& codePoint) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < size)
        return 0;
    codePoint = lead & (0xFFu >> (size + 1));
    for (std::size_t i = 1; i < size; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0) != 0x80)
            return 0;
        codePoint = codePoint << 6 | (next & 0x3Fu);
    }
    constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (codePoint < kSmallest[size] || codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF))
        return 0;
    return size;
}

/// C1 controls, separators of lines and paragraphs, and whatever changes the direction of what follows.
bool IsTroublesome(std::uint32_t c) {
    return c < 0xA0 || c == 0x061C || (c >= 0x200E && c <= 0x200F) || (c >= 0x2028 && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

} // namespace

void AppendEscaped(std::string& out, std::string_view text) {
    while (!text.empty()) {
        const auto plain = static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsPlain) - text.begin());
        out.append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty())
            return;
        std::uint32_t codePoint = 0;
        std::size_t size = Decode(text, codePoint);
        if (size != 0 && !IsTroublesome(codePoint)) {
            out.append(text.substr(0, size));
        } else {
            size = std::max<std::size_t>(size, 1);
            for (const char c : text.substr(0, size))
                AppendByte(out, static_cast<unsigned char>(c));
        }
        text.remove_prefix(size);
    }
}

} // namespace platform::instrumental
