// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>

#include <charconv>

namespace ulk::check {
namespace {

/// What one line of the trace tells about a check.
struct FailureRecord {
    const char* file;
    int line;
    const char* expression;
    const char* test;
};

void Write(trace::Record& record, const FailureRecord& failure) {
    record << failure.file << ':' << failure.line << '(' << failure.expression << "),(" << failure.test << ") failed: ";
}

} // namespace

void Report(ITracer* tracer, const char* file, int line, const char* expression, result_t result,
            std::string_view message) noexcept {
    trace::Record record(tracer, level::Failure);
    if (!record)
        return;
    char digits[8];
    const auto end = std::to_chars(digits, digits + sizeof digits, static_cast<std::uint32_t>(result), 16).ptr;
    Write(record, {file, line, expression, "ULK_SUCCEEDED(_result)"});
    record << "result = 0x" << std::string_view(digits, static_cast<std::size_t>(end - digits)) << message;
}

void ReportFalse(ITracer* tracer, const char* file, int line, const char* expression,
                 std::string_view message) noexcept {
    trace::Record record(tracer, level::Failure);
    if (!record)
        return;
    Write(record, {file, line, expression, "bool"});
    record << "result = false" << message;
}

void Throw(const char* file, int line, result_t result, std::string_view message) {
    CheckResultFailedException failure(file, line, result);
    failure.SetMessage(text::ToUtf16Lossy(message));
    throw failure;
}

} // namespace ulk::check
