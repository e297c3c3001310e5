// SPDX-License-Identifier: GPL-2.0-or-later
#include <tfs_common/format_text.h>

#include <algorithm>

namespace tfs::localization {
namespace {

constexpr std::size_t MostDigits = 3;
constexpr std::string_view Flags = "-+ #0";
constexpr std::string_view Sizes = "hlLqjz";
constexpr std::string_view Conversions = "diouxXeEfFgGaAcs";

/// Takes what stands of `set` at the beginning off the text; returns how many characters that were.
std::size_t TakeAny(std::string_view& text, std::string_view set) noexcept {
    const std::size_t size = std::min(text.find_first_not_of(set), text.size());
    text.remove_prefix(size);
    return size;
}

bool TakeOne(std::string_view& text, std::string_view set) noexcept {
    if (text.empty() || set.find(text.front()) == std::string_view::npos)
        return false;
    text.remove_prefix(1);
    return true;
}

/// The number of a value, 1 or more, that `end` follows; the text stays as it is where there is none.
bool TakePosition(std::string_view& text, char end) noexcept {
    std::string_view rest = text;
    const bool fromOne = !rest.empty() && rest.front() != '0';
    const std::size_t digits = TakeAny(rest, "0123456789");
    if (!fromOne || digits == 0 || digits > MostDigits || !TakeOne(rest, {&end, 1}))
        return false;
    text = rest;
    return true;
}

/// A directive without its percent sign.
bool TakeDirective(std::string_view& text) noexcept {
    if (TakeOne(text, "%") || TakePosition(text, '%'))
        return true;
    (void)TakePosition(text, '$');
    (void)TakeAny(text, Flags);
    if (TakeAny(text, "0123456789") > MostDigits)
        return false;
    if (TakeOne(text, ".") && TakeAny(text, "0123456789") > MostDigits)
        return false;
    (void)TakeAny(text, Sizes);
    return TakeOne(text, Conversions);
}

} // namespace

bool HasPlainDirectives(std::string_view text) noexcept {
    while (!text.empty()) {
        const bool isDirective = text.front() == '%';
        text.remove_prefix(1);
        if (isDirective && !TakeDirective(text))
            return false;
    }
    return true;
}

} // namespace tfs::localization
