// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/escape.h>

#include <cstdint>
#include <cstdio>

namespace tfs::control {

namespace {

struct Decoded {
    char32_t character = 0;
    std::size_t size = 0; ///< 0: the first byte doesn't begin a well-formed sequence
};

unsigned char ByteAt(std::string_view bytes, std::size_t index) noexcept {
    return static_cast<unsigned char>(bytes[index]);
}

Decoded DecodeFirst(std::string_view bytes) noexcept {
    const unsigned char lead = ByteAt(bytes, 0);
    if (lead < 0x80)
        return {lead, 1};
    std::size_t size = 0;
    char32_t character = 0;
    char32_t least = 0;
    if ((lead & 0xE0) == 0xC0) {
        size = 2, least = 0x80, character = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        size = 3, least = 0x800, character = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
        size = 4, least = 0x10000, character = lead & 0x07;
    } else {
        return {};
    }
    if (bytes.size() < size)
        return {};
    for (std::size_t i = 1; i < size; ++i) {
        const unsigned char next = ByteAt(bytes, i);
        if ((next & 0xC0) != 0x80)
            return {};
        character = (character << 6) | (next & 0x3F);
    }
    if (character < least || character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF))
        return {};
    return {character, size};
}

/// Characters that move the cursor, break the line or reorder what stands beside them.
bool IsUnsafe(char32_t c) noexcept {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x061C || (c >= 0x200B && c <= 0x200F) ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2060 && c <= 0x206F) || c == 0xFEFF ||
           (c >= 0xE0000 && c <= 0xE007F);
}

std::string EscapeCharacter(char32_t c) {
    switch (c) {
    case U'\n':
        return "\\n";
    case U'\r':
        return "\\r";
    case U'\t':
        return "\\t";
    default:
        break;
    }
    char text[16];
    std::snprintf(text, sizeof text, c < 0x80 ? "\\x%02x" : "\\u{%x}", static_cast<unsigned>(c));
    return text;
}

} // namespace

std::string EscapeForTerminal(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size());
    while (!bytes.empty()) {
        const Decoded decoded = DecodeFirst(bytes);
        const std::size_t size = decoded.size == 0 ? 1 : decoded.size;
        if (decoded.size == 0)
            out += "\\x" + ToHex(bytes.substr(0, 1));
        else if (decoded.character == U'\\')
            out += "\\\\";
        else if (IsUnsafe(decoded.character))
            out += EscapeCharacter(decoded.character);
        else
            out += bytes.substr(0, size);
        bytes.remove_prefix(size);
    }
    return out;
}

bool IsUtf8(std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const Decoded decoded = DecodeFirst(bytes);
        if (decoded.size == 0)
            return false;
        bytes.remove_prefix(decoded.size);
    }
    return true;
}

std::string ToHex(std::string_view bytes) {
    static constexpr char Digits[] = "0123456789abcdef";
    std::string out;
    out.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        out += Digits[byte >> 4];
        out += Digits[byte & 0x0F];
    }
    return out;
}

} // namespace tfs::control
