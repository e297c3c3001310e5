// SPDX-License-Identifier: GPL-2.0-or-later
// Fills a text's directives with values.
#pragma once

#include <boost/format.hpp>
#include <exception>
#include <string>
#include <string_view>

namespace tfs::localization {

/// Whether each percent sign begins `%%`, `%1%` or a directive of printf with small numbers, and none of the library's
/// own extensions: some of those it reads past the end of its memory, and a width of millions it would fill.
bool HasPlainDirectives(std::string_view text) noexcept;

/// Fills `%1$s`, `%d` and `%1%` directives in turn; values that the text doesn't ask for are ignored. Translated texts
/// come from files, so one that asks for more values than there are, or whose directives are malformed, never throws:
/// the text itself is given back.
template <class... Values>
std::string Format(const std::string& text, const Values&... values) {
    if (!HasPlainDirectives(text))
        return text;
    try {
        boost::format format(text);
        format.exceptions(boost::io::all_error_bits ^ boost::io::too_many_args_bit);
        (void)(format % ... % values);
        return format.str();
    } catch (const std::exception&) {
        return text;
    }
}

} // namespace tfs::localization
