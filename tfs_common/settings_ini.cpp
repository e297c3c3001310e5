// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <tfs_common/regular_file.h>
#include <tfs_common/settings_tools.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace tfs::tools {
namespace {

using settings::ChangeItem;
using settings::SettingsChangeList;

/// Independent of the locale, in which bytes of UTF-8 may count as space.
constexpr bool IsSpace(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

std::string_view Trimmed(std::string_view text) noexcept {
    while (!text.empty() && IsSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

/// The next line without the white space round it; false at the end. However long a line is, little more than the
/// greatest length of it is kept.
bool ReadLine(std::istream& stream, std::string& line) {
    line.clear();
    char c = 0;
    bool isAnything = false;
    while (stream.get(c)) {
        isAnything = true;
        if (c == '\n')
            break;
        const bool isSpace = IsSpace(c);
        if (!isSpace && line.size() >= GreatestLineLength)
            throw std::out_of_range("settings string is too long");
        if (!isSpace || (!line.empty() && line.size() < GreatestLineLength))
            line.push_back(c);
    }
    if (stream.bad())
        throw std::runtime_error("the stream can't be read");
    line.resize(Trimmed(line).size());
    return isAnything;
}

ChangeItem SplitLine(const std::string& section, std::string_view line) {
    const std::size_t equals = std::min(line.find('='), line.size());
    const std::string_view key = Trimmed(line.substr(0, equals));
    ChangeItem item;
    item.key = section.empty() ? std::string(key) : section + '.' + std::string(key);
    item.value = Trimmed(line.substr(std::min(equals + 1, line.size())));
    std::erase(item.value, '"');
    return item;
}

[[noreturn]] void FailToRead(const NativePath& path, result_t code, std::string_view reason) {
    ulk::check::Throw(__FILE__, __LINE__, code, "Cannot read settings from file " + path + ": " + std::string(reason));
}

} // namespace

void ReadIniImpl(ulk::ITracer* tracer, std::istream& stream, std::string section, SettingsChangeList& list) {
    std::vector<ChangeItem> items;
    std::string line;
    while (ReadLine(stream, line)) {
        if (line.empty())
            continue;
        if (line.front() == '[') {
            std::erase(line, '[');
            std::erase(line, ']');
            section = line;
        } else {
            items.push_back(SplitLine(section, line));
        }
    }
    ULK_TRACE(tracer, ulk::level::Detail) << "ReadIni: " << items.size() << " items";
    list.items.insert(list.items.end(), std::make_move_iterator(items.begin()), std::make_move_iterator(items.end()));
}

void ReadIni(ulk::ITracer* tracer, const NativePath& path, SettingsChangeList& list) {
    std::string text;
    if (const result_t result = ReadRegularFile(path, GreatestSettingsFile, text); !ULK_SUCCEEDED(result))
        FailToRead(path, result, ulk::ResultText(result));
    try {
        std::istringstream stream(std::move(text));
        ReadIniImpl(tracer, stream, {}, list);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& e) {
        FailToRead(path, ulk::eInvalidArgument, e.what());
    }
}

} // namespace tfs::tools
