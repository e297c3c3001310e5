// SPDX-License-Identifier: GPL-2.0-or-later
// The tracer's interface and the stream through which one line is built.
#pragma once

#include <foundation/object.h>
#include <foundation/string16.h>

#include <concepts>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

namespace ulk {

/// Levels at which the program writes; a lower number is more serious.
namespace level {
inline constexpr int Failure = 300;
inline constexpr int Notable = 700;
inline constexpr int Detail = 800;
inline constexpr int Finest = 1000;
} // namespace level

/// One line on its way to the tracer. Owned by the tracer, lent to one record on one thread.
struct TraceBuffer {
    int level = 0;
    std::string text;
};

/// The process's tracer. All operations may be called from several threads at once and never throw.
class ITracer : public IObject {
public:
    static constexpr iid_t Iid = 0x6EF3329Bu;

    /// Cheap: one relaxed load.
    virtual bool IsEnabled(int level) const noexcept = 0;
    /// A buffer with room for `size` characters, or null. Every buffer is handed back by Submit.
    virtual TraceBuffer* GetBuffer(int level, std::size_t size) noexcept = 0;
    /// Writes the buffer's text as one line and takes the buffer back. Control characters are escaped, so that a
    /// hostile file name can't forge a line.
    virtual void Submit(TraceBuffer* buffer) noexcept = 0;
    /// Everything submitted so far reaches the file.
    virtual void Flush() noexcept = 0;

protected:
    ~ITracer() = default;
};

namespace trace {

/// An integer to be written in hexadecimal digits. Made by Hex.
struct Hexadecimal {
    std::uint64_t value;
};
/// As many lower-case digits as it takes, without a prefix; a negative number as its bits stand.
template <std::integral Integer>
constexpr Hexadecimal Hex(Integer value) noexcept {
    return {static_cast<std::make_unsigned_t<Integer>>(value)};
}

/// A stream valid for one record. Numbers are decimal and not padded; a fraction has at most six significant digits.
/// Opening it tests the level first, so that a disabled level costs no formatting: test the record, then write.
class Record {
public:
    static constexpr int Precision = 6; ///< significant digits of a fraction

    /// `tracer` may be null.
    Record(ITracer* tracer, int level) noexcept;
    ~Record();
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    explicit operator bool() const noexcept { return m_buffer != nullptr; }
    /// Passes the line to the tracer and clears the record; the destructor does it otherwise.
    void Close() noexcept;

    Record& operator<<(std::string_view text);
    /// A null string prints as "(null)".
    Record& operator<<(const char* text);
    Record& operator<<(const char16_t* text);
    Record& operator<<(const types::string16_t& text);
    Record& operator<<(const std::string& text) { return *this << std::string_view(text); }
    Record& operator<<(char value);
    /// As 1 or 0. Takes nothing else, so that a pointer to a function isn't one by mistake.
    template <std::same_as<bool> Bool>
    Record& operator<<(Bool value) {
        return *this << (value ? '1' : '0');
    }
    Record& operator<<(int value);
    Record& operator<<(unsigned value);
    Record& operator<<(long value);
    Record& operator<<(unsigned long value);
    Record& operator<<(long long value);
    Record& operator<<(unsigned long long value);
    Record& operator<<(double value);
    Record& operator<<(Hexadecimal value);
    /// An address, as "0x" and hexadecimal digits.
    Record& operator<<(const void* address);

private:
    ITracer* m_tracer = nullptr;
    TraceBuffer* m_buffer = nullptr;
};

} // namespace trace
} // namespace ulk

/// ULK_TRACE(tracer, level) << "text" << 1; builds nothing where the level is off.
#define ULK_TRACE(tracer, traceLevel)                                                                                  \
    if (::ulk::trace::Record ulkRecord{(tracer), (traceLevel)}; !ulkRecord) {                                          \
    } else                                                                                                             \
        ulkRecord
