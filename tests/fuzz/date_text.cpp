// SPDX-License-Identifier: GPL-2.0-or-later
// Dates as text: one that is taken reads the same again.
#include <tests/fuzz/input.h>
#include <tfs_utils/date_to_string_and_viceversa.h>

void tfs::fuzz::Run(std::string_view input) {
    static constexpr const char* Formats[] = {DefaultDateFormat, "%d.%m.%Y", "%x %X", "%m/%d/%y", "%H:%M:%S"};
    const char* const format = Formats[TakeByte(input) % std::size(Formats)];
    const auto date = StringToDate(std::string(input), format);
    if (!date)
        return;
    const auto again = StringToDate(DateToString(*date, format), format);
    Require(again && again->tm_year == date->tm_year && again->tm_mon == date->tm_mon &&
            again->tm_mday == date->tm_mday && again->tm_hour == date->tm_hour && again->tm_min == date->tm_min &&
            again->tm_sec == date->tm_sec);
}
