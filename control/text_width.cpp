// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/text_width.h>

#include <clocale>
#include <cwchar>
#include <locale.h>

namespace tfs::control {
namespace {

constexpr std::string_view Ellipsis = "...";

/// The names are UTF-8 whatever the user's locale is.
locale_t Utf8Locale() {
    static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale;
}

/// The thread's locale, as long as the object lives.
class LocaleScope {
public:
    LocaleScope() : m_before(Utf8Locale() != nullptr ? ::uselocale(Utf8Locale()) : nullptr) {}
    ~LocaleScope() {
        if (m_before != nullptr)
            ::uselocale(m_before);
    }
    LocaleScope(const LocaleScope&) = delete;
    LocaleScope& operator=(const LocaleScope&) = delete;

private:
    const locale_t m_before;
};

struct Fit {
    std::size_t bytes = 0;
    std::size_t columns = 0;
};

/// The longest beginning within so many columns. What doesn't decode counts as one column a byte.
Fit FitInto(std::string_view line, std::size_t columns) {
    const LocaleScope scope;
    Fit fit;
    while (fit.bytes < line.size()) {
        std::mbstate_t state{};
        wchar_t character = 0;
        std::size_t size = std::mbrtowc(&character, line.data() + fit.bytes, line.size() - fit.bytes, &state);
        int width = 1;
        if (size == 0 || size > line.size() - fit.bytes)
            size = 1;
        else
            width = ::wcwidth(character);
        const std::size_t taken = width < 0 ? 1 : static_cast<std::size_t>(width);
        if (taken > columns - fit.columns)
            break;
        fit.bytes += size;
        fit.columns += taken;
    }
    return fit;
}

} // namespace

std::size_t TextWidth(std::string_view line) { return FitInto(line, line.size() * 2).columns; }

std::string Shortened(const std::string& line, std::size_t columns) {
    if (FitInto(line, columns).bytes == line.size())
        return line;
    if (columns < Ellipsis.size())
        return {};
    return line.substr(0, FitInto(line, columns - Ellipsis.size()).bytes).append(Ellipsis);
}

} // namespace tfs::control
