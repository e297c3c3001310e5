// SPDX-License-Identifier: GPL-2.0-or-later
// Checks of results: reported to the trace, or thrown.
#pragma once

#include <foundation/exceptions.h>
#include <foundation/result.h>
#include <foundation/trace.h>

#include <concepts>
#include <string_view>

namespace ulk::check {

/// Writes all of a failure's line but the message: file ":" line "(" expression "),(" test ") failed: " "result =
/// 0x...".
void Begin(trace::Record& record, const char* file, int line, const char* expression, result_t result) noexcept;
/// The same for a condition: the test is "bool" and the result reads "result = false".
void BeginFalse(trace::Record& record, const char* file, int line, const char* expression) noexcept;

/// Lets `writeMessage(record)` end the line. What it throws is swallowed and costs the rest of the message: a report
/// must not change what is reported.
template <class WriteMessage>
void End(trace::Record& record, WriteMessage&& writeMessage) noexcept {
    try {
        writeMessage(record);
    } catch (...) {
    }
}

/// Writes one line at level 300. The record is opened first, so that `writeMessage` isn't called where the level is
/// off.
template <std::invocable<trace::Record&> WriteMessage>
void Report(ITracer* tracer, const char* file, int line, const char* expression, result_t result,
            WriteMessage&& writeMessage) noexcept {
    trace::Record record(tracer, level::Failure);
    if (!record)
        return;
    Begin(record, file, line, expression, result);
    End(record, writeMessage);
}
template <std::invocable<trace::Record&> WriteMessage>
void ReportFalse(ITracer* tracer, const char* file, int line, const char* expression,
                 WriteMessage&& writeMessage) noexcept {
    trace::Record record(tracer, level::Failure);
    if (!record)
        return;
    BeginFalse(record, file, line, expression);
    End(record, writeMessage);
}

/// Throws CheckResultFailedException.
[[noreturn]] void Throw(const char* file, int line, result_t result, std::string_view message);

} // namespace ulk::check

/// Evaluates `expression` once; a failing code is traced with `message` (anything a record takes), which is
/// evaluated only where the line is written. Yields the code.
#define ULK_CHECK_TRACE(tracer, expression, message)                                                                   \
    ([&]() -> result_t {                                                                                               \
        const result_t ulkResult = (expression);                                                                       \
        if (!ULK_SUCCEEDED(ulkResult))                                                                                 \
            ::ulk::check::Report((tracer), __FILE__, __LINE__, #expression, ulkResult,                                 \
                                 [&](::ulk::trace::Record& ulkRecord) { ulkRecord << (message); });                    \
        return ulkResult;                                                                                              \
    }())

/// Evaluates `expression` once; a false one is traced with `message` in the same way. Yields the condition.
#define ULK_CHECK_BOOL_TRACE(tracer, expression, message)                                                              \
    ([&]() -> bool {                                                                                                   \
        const bool ulkHolds = static_cast<bool>(expression);                                                           \
        if (!ulkHolds)                                                                                                 \
            ::ulk::check::ReportFalse((tracer), __FILE__, __LINE__, #expression,                                       \
                                      [&](::ulk::trace::Record& ulkRecord) { ulkRecord << (message); });               \
        return ulkHolds;                                                                                               \
    }())

/// Evaluates `expression` once; a failing code throws CheckResultFailedException with `message`.
#define ULK_CHECK_THROW(expression, message)                                                                           \
    do {                                                                                                               \
        if (const result_t ulkThrown = (expression); !ULK_SUCCEEDED(ulkThrown))                                        \
            ::ulk::check::Throw(__FILE__, __LINE__, ulkThrown, (message));                                             \
    } while (false)
