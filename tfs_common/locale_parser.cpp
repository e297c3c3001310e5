// SPDX-License-Identifier: GPL-2.0-or-later
#include <tfs_common/locale_parser.h>

#include <string_view>

namespace tfs::localization {
namespace {

constexpr bool IsLower(char c) { return c >= 'a' && c <= 'z'; }
constexpr bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }

} // namespace

result_t ParseLocale(const char* text, std::string& language, std::string& territory) {
    if (text == nullptr)
        return ulk::eInvalidArgument;
    const std::string_view name(text);
    std::size_t underscore = std::string_view::npos;
    std::size_t end = 0;
    for (; end < name.size(); ++end) {
        const char c = name[end];
        const bool inTerritory = underscore != std::string_view::npos;
        if (c == '_') {
            if (inTerritory)
                return ulk::eInvalidArgument;
            underscore = end;
        } else if (IsLower(c) || IsUpper(c)) {
            if (IsUpper(c) != inTerritory)
                return ulk::eInvalidArgument;
        } else {
            break;
        }
    }
    if (underscore == std::string_view::npos)
        return ulk::eInvalidArgument;

    territory = name.substr(0, end);
    language = name.substr(0, underscore);
    if (language == "zh")
        language = "zh-hans";
    return ulk::sOk;
}

} // namespace tfs::localization
