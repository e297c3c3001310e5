// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>

namespace ulk::check {
namespace {

void BeginLine(trace::Record& record, const char* file, int line, const char* expression, const char* test) {
    record << file << ':' << line << '(' << expression << "),(" << test << ") failed: ";
}

} // namespace

void Begin(trace::Record& record, const char* file, int line, const char* expression, result_t result) noexcept {
    BeginLine(record, file, line, expression, "ULK_SUCCEEDED(_result)");
    record << "result = 0x" << trace::Hex(result);
}

void BeginFalse(trace::Record& record, const char* file, int line, const char* expression) noexcept {
    BeginLine(record, file, line, expression, "bool");
    record << "result = false";
}

void Throw(const char* file, int line, result_t result, std::string_view message) {
    CheckResultFailedException failure(file, line, result);
    failure.SetMessage(text::ToUtf16Lossy(message));
    throw failure;
}

} // namespace ulk::check
