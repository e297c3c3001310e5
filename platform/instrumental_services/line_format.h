// SPDX-License-Identifier: GPL-2.0-or-later
// The fields that stand before the text of each line.
#pragma once

#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace platform::instrumental {

/// A line format: strftime fields in local time, beside them %I, the thread's id, and %p, the record's level.
/// Formatting a date costs far more than the rest of a line, so that what depends on the time is kept for a second. Not
/// thread-safe: the tracer calls it under its lock.
class LineFormat {
public:
    explicit LineFormat(std::string_view format);

    void AppendPrefix(std::string& out, std::time_t now, int threadId, int level);

private:
    enum class Field { Time, ThreadId, Level };
    struct Segment {
        Field field;
        std::string format;   ///< strftime format of a Time segment
        std::string rendered; ///< its text in the second m_second
    };

    void Render(std::time_t now);

    std::vector<Segment> m_segments;
    std::time_t m_second = -1;
};

} // namespace platform::instrumental
