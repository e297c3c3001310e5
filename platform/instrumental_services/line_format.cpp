// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/instrumental_services/line_format.h>

#include <charconv>

namespace platform::instrumental {
namespace {

void AppendNumber(std::string& out, int value) {
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    out.append(digits, end);
}

std::string FormatTime(const std::string& format, const std::tm& time) {
    char buffer[512];
    const std::size_t size = std::strftime(buffer, sizeof buffer, format.c_str(), &time);
    return std::string(buffer, size);
}

} // namespace

LineFormat::LineFormat(std::string_view format) {
    std::string time;
    const auto flush = [&] {
        if (!time.empty())
            m_segments.push_back({Field::Time, time, {}});
        time.clear();
    };
    for (std::size_t i = 0; i < format.size(); ++i) {
        const char c = format[i];
        const char next = c == '%' && i + 1 < format.size() ? format[i + 1] : '\0';
        if (next == 'I' || next == 'p') {
            flush();
            m_segments.push_back({next == 'I' ? Field::ThreadId : Field::Level, {}, {}});
            ++i;
        } else if (next != '\0') {
            time.append(format.substr(i, 2));
            ++i;
        } else if (c == '%') {
            time += "%%"; // a lone sign at the end stands for itself
        } else {
            time += c;
        }
    }
    flush();
}

void LineFormat::Render(std::time_t now) {
    std::tm time{};
    ::localtime_r(&now, &time);
    for (Segment& segment : m_segments)
        if (segment.field == Field::Time)
            segment.rendered = FormatTime(segment.format, time);
    m_second = now;
}

void LineFormat::AppendPrefix(std::string& out, std::time_t now, int threadId, int level) {
    if (now != m_second)
        Render(now);
    for (const Segment& segment : m_segments) {
        switch (segment.field) {
        case Field::Time:
            out += segment.rendered;
            break;
        case Field::ThreadId:
            AppendNumber(out, threadId);
            break;
        case Field::Level:
            AppendNumber(out, level);
            break;
        }
    }
}

} // namespace platform::instrumental
