// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/trace.h>

#include <charconv>
#include <exception>

namespace ulk::trace {
namespace {

constexpr std::size_t kBufferSize = 512;
constexpr std::string_view kNullText = "(null)";

/// A line that memory doesn't suffice for is cut, never thrown out of: tracing must not change what is traced.
void Append(TraceBuffer* buffer, std::string_view text) noexcept {
    if (buffer == nullptr)
        return;
    try {
        buffer->text.append(text);
    } catch (const std::exception&) {
    }
}

void AppendUtf16(TraceBuffer* buffer, std::u16string_view text) noexcept {
    if (buffer == nullptr)
        return;
    try {
        buffer->text.append(text::ToUtf8Lossy(text));
    } catch (const std::exception&) {
    }
}

template <class Integer>
void AppendInteger(TraceBuffer* buffer, Integer value, int base = 10) noexcept {
    char digits[24];
    const char* end = std::to_chars(digits, digits + sizeof digits, value, base).ptr;
    Append(buffer, std::string_view(digits, static_cast<std::size_t>(end - digits)));
}

} // namespace

Record::Record(ITracer* tracer, int level) noexcept {
    if (tracer == nullptr || !tracer->IsEnabled(level))
        return;
    m_buffer = tracer->GetBuffer(level, kBufferSize);
    if (m_buffer != nullptr)
        m_tracer = tracer;
}

Record::~Record() { Close(); }

void Record::Close() noexcept {
    if (m_buffer == nullptr)
        return;
    m_tracer->Submit(m_buffer);
    m_buffer = nullptr;
    m_tracer = nullptr;
}

Record& Record::operator<<(std::string_view text) {
    Append(m_buffer, text);
    return *this;
}

Record& Record::operator<<(const char* text) {
    Append(m_buffer, text != nullptr ? std::string_view(text) : kNullText);
    return *this;
}

Record& Record::operator<<(const char16_t* text) {
    if (text != nullptr)
        AppendUtf16(m_buffer, text);
    else
        Append(m_buffer, kNullText);
    return *this;
}

Record& Record::operator<<(const types::string16_t& text) {
    AppendUtf16(m_buffer, text);
    return *this;
}

Record& Record::operator<<(char value) {
    Append(m_buffer, std::string_view(&value, 1));
    return *this;
}

Record& Record::operator<<(int value) {
    AppendInteger(m_buffer, value);
    return *this;
}

Record& Record::operator<<(unsigned value) {
    AppendInteger(m_buffer, value);
    return *this;
}

Record& Record::operator<<(long value) {
    AppendInteger(m_buffer, value);
    return *this;
}

Record& Record::operator<<(unsigned long value) {
    AppendInteger(m_buffer, value);
    return *this;
}

Record& Record::operator<<(long long value) {
    AppendInteger(m_buffer, value);
    return *this;
}

Record& Record::operator<<(unsigned long long value) {
    AppendInteger(m_buffer, value);
    return *this;
}

Record& Record::operator<<(double value) {
    // Without the locale's decimal point.
    char digits[32];
    const auto result = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, Precision);
    Append(m_buffer, std::string_view(digits, static_cast<std::size_t>(result.ptr - digits)));
    return *this;
}

Record& Record::operator<<(Hexadecimal value) {
    AppendInteger(m_buffer, value.value, 16);
    return *this;
}

Record& Record::operator<<(const void* address) {
    return *this << "0x" << Hex(reinterpret_cast<std::uintptr_t>(address));
}

} // namespace ulk::trace
