// SPDX-License-Identifier: GPL-2.0-or-later
// Checks of results: reported to the trace, or thrown.
#pragma once

#include <foundation/exceptions.h>
#include <foundation/result.h>
#include <foundation/trace.h>

#include <string_view>

namespace ulk::check {

/// Writes at level 300: file ":" line "(" expression "),(" test ") failed: " "result = 0x..." message.
void Report(ITracer* tracer, const char* file, int line, const char* expression, result_t result,
            std::string_view message) noexcept;
/// The same for a condition: the test is "bool" and the result reads "result = false".
void ReportFalse(ITracer* tracer, const char* file, int line, const char* expression,
                 std::string_view message) noexcept;
/// Throws CheckResultFailedException.
[[noreturn]] void Throw(const char* file, int line, result_t result, std::string_view message);

} // namespace ulk::check

/// Evaluates `expression` once; a failing code is traced with `message` (text, may be empty). Yields the code.
#define ULK_CHECK_TRACE(tracer, expression, message)                                                                   \
    ([&]() -> result_t {                                                                                               \
        const result_t ulkResult = (expression);                                                                       \
        if (!ULK_SUCCEEDED(ulkResult))                                                                                 \
            ::ulk::check::Report((tracer), __FILE__, __LINE__, #expression, ulkResult, (message));                     \
        return ulkResult;                                                                                              \
    }())

/// Evaluates `expression` once; a false one is traced with `message`. Yields the condition.
#define ULK_CHECK_BOOL_TRACE(tracer, expression, message)                                                              \
    ([&]() -> bool {                                                                                                   \
        const bool ulkHolds = static_cast<bool>(expression);                                                           \
        if (!ulkHolds)                                                                                                 \
            ::ulk::check::ReportFalse((tracer), __FILE__, __LINE__, #expression, (message));                           \
        return ulkHolds;                                                                                               \
    }())

/// Evaluates `expression` once; a failing code throws CheckResultFailedException with `message`.
#define ULK_CHECK_THROW(expression, message)                                                                           \
    do {                                                                                                               \
        if (const result_t ulkThrown = (expression); !ULK_SUCCEEDED(ulkThrown))                                        \
            ::ulk::check::Throw(__FILE__, __LINE__, ulkThrown, (message));                                             \
    } while (false)
