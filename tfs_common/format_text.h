// SPDX-License-Identifier: GPL-2.0-or-later
// Fills a text's directives with values.
#pragma once

#include <boost/format.hpp>
#include <exception>
#include <string>

namespace tfs::localization {

/// Fills `%1$s`, `%d` and `%1%` directives in turn. Translated texts come from files, so a text that asks for more or
/// fewer values than there are, or whose directives are malformed, never throws: the text itself is given back.
template <class... Values>
std::string Format(const std::string& text, const Values&... values) {
    try {
        boost::format format(text);
        (void)(format % ... % values);
        return format.str();
    } catch (const std::exception&) {
        return text;
    }
}

} // namespace tfs::localization
