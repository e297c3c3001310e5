// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/app_core_legacy/crash_dump_folder.h>

#include <algorithm>
#include <filesystem>
#include <fnmatch.h>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace platform::app_core_legacy {
namespace {

/// Appends to a buffer of fixed size without any call into the C library.
class Writer {
public:
    Writer(char* out, std::size_t size) noexcept : m_next(out), m_end(out + size - 1) { *m_next = '\0'; }
    void Put(char c) noexcept {
        if (m_next < m_end) {
            *m_next++ = c;
            *m_next = '\0';
        }
    }
    /// At least `width` digits.
    void PutNumber(std::uint64_t value, int width) noexcept {
        char digits[20];
        int count = 0;
        do {
            digits[count++] = static_cast<char>('0' + value % 10);
            value /= 10;
        } while (value != 0);
        for (int i = count; i < width; ++i)
            Put('0');
        while (count > 0)
            Put(digits[--count]);
    }

private:
    char* m_next;
    char* m_end;
};

struct CivilDate {
    std::uint64_t year;
    std::uint64_t month;
    std::uint64_t day;
};

/// gmtime_r isn't async-signal-safe, calendar arithmetic is. Counts years from March, so that the leap day comes last.
CivilDate ToCivil(std::uint64_t daysSince1970) noexcept {
    const std::uint64_t days = daysSince1970 + 719468; // since 1 March of year 0
    const std::uint64_t era = days / 146097;
    const std::uint64_t dayOfEra = days % 146097;
    const std::uint64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::uint64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::uint64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const std::uint64_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month, dayOfYear - (153 * monthFromMarch + 2) / 5 + 1};
}

void PutDate(Writer& writer, std::time_t now) noexcept {
    const auto seconds = static_cast<std::uint64_t>(now < 0 ? 0 : now);
    const CivilDate date = ToCivil(seconds / 86400);
    writer.PutNumber(date.year, 4);
    writer.PutNumber(date.month, 2);
    writer.PutNumber(date.day, 2);
    writer.Put('-');
    writer.PutNumber(seconds / 3600 % 24, 2);
    writer.PutNumber(seconds / 60 % 60, 2);
    writer.PutNumber(seconds % 60, 2);
}

std::string ToGlob(const std::string& pattern) {
    std::string glob;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char c = pattern[i];
        const char next = c == '%' && i + 1 < pattern.size() ? pattern[i + 1] : '\0';
        if (next == 'd' || next == 'p') {
            glob += "[0-9]*";
            ++i;
        } else {
            if (next == '%')
                ++i;
            glob += '\\';
            glob += c;
        }
    }
    return glob;
}

} // namespace

void FillDumpName(char* out, std::size_t size, const char* pattern, std::time_t now, int pid) noexcept {
    Writer writer(out, size);
    for (; *pattern != '\0'; ++pattern) {
        if (*pattern != '%' || pattern[1] == '\0') {
            writer.Put(*pattern);
            continue;
        }
        ++pattern;
        if (*pattern == 'd') {
            PutDate(writer, now);
        } else if (*pattern == 'p') {
            writer.PutNumber(static_cast<std::uint64_t>(pid), 1);
        } else {
            if (*pattern != '%')
                writer.Put('%');
            writer.Put(*pattern);
        }
    }
}

void PruneDumps(const std::string& folder, const std::string& pattern, std::uint32_t keep) {
    namespace fs = std::filesystem;
    const std::string glob = ToGlob(pattern);
    std::vector<std::pair<fs::file_time_type, fs::path>> dumps;
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        std::error_code ignored;
        if (it->symlink_status(ignored).type() == fs::file_type::regular &&
            ::fnmatch(glob.c_str(), it->path().filename().c_str(), 0) == 0)
            dumps.emplace_back(it->last_write_time(ignored), it->path());
    }
    if (dumps.size() <= keep)
        return;
    std::sort(dumps.begin(), dumps.end());
    dumps.resize(dumps.size() - keep);
    for (const auto& [time, path] : dumps)
        fs::remove(path, error);
}

} // namespace platform::app_core_legacy
