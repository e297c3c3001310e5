// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/string16.h>
#include <tfs_common/translator.h>
#include <tfs_common/validation_text.h>

#include <algorithm>
#include <boost/format.hpp>
#include <iterator>
#include <stdexcept>

namespace tfs::localization {
namespace {

struct Entry {
    std::string_view key;
    std::uint32_t id;
};

constexpr Entry kEntries[] = {
#define X(number, key, ...) {#key, number},
#include <tfs_common/catalogue_rows.inc>
#undef X
};

/// Throws where the text can't be built.
std::string Build(const settings::ValidationMessage& message) {
    const std::optional<std::uint32_t> id = FindEntry(message.textKey);
    if (!id)
        throw std::invalid_argument(message.textKey);
    const std::string text = GetLocalizedString(*id);
    if (!HasPlainDirectives(text))
        throw std::invalid_argument(text);
    boost::format format(text);
    for (const ulk::types::string16_t& argument : message.arguments)
        format % ulk::text::ToUtf8Lossy(argument);
    return format.str();
}

} // namespace

std::optional<std::uint32_t> FindEntry(std::string_view key) noexcept {
    const auto* const found =
        std::find_if(std::begin(kEntries), std::end(kEntries), [key](const Entry& entry) { return entry.key == key; });
    return found == std::end(kEntries) ? std::nullopt : std::optional(found->id);
}

std::string ValidationText(const ulk::types::vector_t<settings::ValidationMessage>& messages) {
    std::string text;
    try {
        for (const settings::ValidationMessage& message : messages) {
            if (!text.empty())
                text += '\n';
            text += Build(message);
        }
    } catch (const std::exception&) {
        return {};
    }
    return text;
}

} // namespace tfs::localization
