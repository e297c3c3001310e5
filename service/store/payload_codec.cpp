// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/store/payload_codec.h>

#include <cstdint>
#include <limits>

namespace tfs::service::store {
namespace {

using ulk::types::FileTime;
using ulk::types::string16_t;
using ulk::types::variant_t;
using Tag = variant_t::Tag;

constexpr std::uint8_t PayloadVersion = 1;

// Numbers are little-endian groups of seven bits; signed ones are folded so that small magnitudes stay short.

class Writer {
public:
    explicit Writer(std::string& out) : m_out(out) {}

    void Byte(std::uint8_t value) { m_out.push_back(static_cast<char>(value)); }
    void Unsigned(std::uint64_t value) {
        while (value >= 0x80) {
            Byte(static_cast<std::uint8_t>(value | 0x80));
            value >>= 7;
        }
        Byte(static_cast<std::uint8_t>(value));
    }
    void Signed(std::int64_t value) {
        Unsigned((static_cast<std::uint64_t>(value) << 1) ^ static_cast<std::uint64_t>(value >> 63));
    }
    void Text(std::string_view text) {
        Unsigned(text.size());
        m_out.append(text);
    }
    void Text16(const string16_t& text) {
        Unsigned(text.size());
        for (const char16_t unit : text) {
            Byte(static_cast<std::uint8_t>(unit & 0xFF));
            Byte(static_cast<std::uint8_t>(unit >> 8));
        }
    }

private:
    std::string& m_out;
};

class Reader {
public:
    explicit Reader(std::string_view bytes) : m_bytes(bytes) {}

    bool AtEnd() const noexcept { return m_bytes.empty(); }
    std::size_t Left() const noexcept { return m_bytes.size(); }
    bool Byte(std::uint8_t& value) noexcept {
        if (m_bytes.empty())
            return false;
        value = static_cast<std::uint8_t>(m_bytes.front());
        m_bytes.remove_prefix(1);
        return true;
    }
    bool Unsigned(std::uint64_t& value) noexcept {
        value = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            std::uint8_t byte = 0;
            if (!Byte(byte) || (shift == 63 && byte > 1))
                return false;
            value |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
            if ((byte & 0x80) == 0)
                return true;
        }
        return false;
    }
    bool Signed(std::int64_t& value) noexcept {
        std::uint64_t folded = 0;
        if (!Unsigned(folded))
            return false;
        value = static_cast<std::int64_t>((folded >> 1) ^ (~(folded & 1) + 1));
        return true;
    }
    template <class Number>
    bool Narrow(Number& value) noexcept {
        if constexpr (std::is_signed_v<Number>) {
            std::int64_t wide = 0;
            if (!Signed(wide) || wide < std::numeric_limits<Number>::min() || wide > std::numeric_limits<Number>::max())
                return false;
            value = static_cast<Number>(wide);
        } else {
            std::uint64_t wide = 0;
            if (!Unsigned(wide) || wide > std::numeric_limits<Number>::max())
                return false;
            value = static_cast<Number>(wide);
        }
        return true;
    }
    bool Text(std::string& text) {
        std::uint64_t size = 0;
        if (!Unsigned(size) || size > m_bytes.size())
            return false;
        text.assign(m_bytes.substr(0, size));
        m_bytes.remove_prefix(size);
        return true;
    }
    bool Text16(string16_t& text) {
        std::uint64_t size = 0;
        if (!Unsigned(size) || size > m_bytes.size() / 2)
            return false;
        std::u16string units(size, u'\0');
        for (char16_t& unit : units) {
            std::uint8_t low = 0;
            std::uint8_t high = 0;
            if (!Byte(low) || !Byte(high))
                return false;
            unit = static_cast<char16_t>(low | (high << 8));
        }
        text = string16_t(std::u16string_view(units));
        return true;
    }

private:
    std::string_view m_bytes;
};

bool WriteValue(Writer& writer, const variant_t& value, int depth) {
    const Tag tag = value.tag();
    writer.Unsigned(static_cast<std::uint64_t>(tag));
    switch (tag) {
    case Tag::Empty:
        return true;
    case Tag::Bool:
        writer.Byte(*value.As<bool>() ? 1 : 0);
        return true;
    case Tag::Int32:
        writer.Signed(*value.As<std::int32_t>());
        return true;
    case Tag::Int64:
        writer.Signed(*value.As<std::int64_t>());
        return true;
    case Tag::UInt32:
        writer.Unsigned(*value.As<std::uint32_t>());
        return true;
    case Tag::UInt64:
        writer.Unsigned(*value.As<std::uint64_t>());
        return true;
    case Tag::DateTime:
        writer.Signed(value.As<FileTime>()->ticks);
        return true;
    case Tag::Text:
        writer.Text(*value.As<std::string>());
        return true;
    case Tag::Text16:
        writer.Text16(*value.As<string16_t>());
        return true;
    case Tag::Vector: {
        if (depth >= MaxValueDepth)
            return false;
        const auto& items = *value.As<variant_t::Vector>();
        writer.Unsigned(items.size());
        for (const variant_t& item : items)
            if (!WriteValue(writer, item, depth + 1))
                return false;
        return true;
    }
    }
    return false;
}

template <class T, class Read>
bool ReadInto(variant_t& value, Read read) {
    T decoded{};
    if (!read(decoded))
        return false;
    value = variant_t(std::move(decoded));
    return true;
}

bool ReadValue(Reader& reader, variant_t& value, int depth) {
    std::uint32_t tag = 0;
    if (!reader.Narrow(tag))
        return false;
    switch (static_cast<Tag>(tag)) {
    case Tag::Empty:
        value = variant_t();
        return true;
    case Tag::Bool:
        return ReadInto<bool>(value, [&](bool& out) {
            std::uint8_t byte = 0;
            const bool valid = reader.Byte(byte) && byte <= 1;
            out = byte != 0;
            return valid;
        });
    case Tag::Int32:
        return ReadInto<std::int32_t>(value, [&](auto& out) { return reader.Narrow(out); });
    case Tag::Int64:
        return ReadInto<std::int64_t>(value, [&](auto& out) { return reader.Signed(out); });
    case Tag::UInt32:
        return ReadInto<std::uint32_t>(value, [&](auto& out) { return reader.Narrow(out); });
    case Tag::UInt64:
        return ReadInto<std::uint64_t>(value, [&](auto& out) { return reader.Unsigned(out); });
    case Tag::DateTime:
        return ReadInto<FileTime>(value, [&](auto& out) { return reader.Signed(out.ticks); });
    case Tag::Text:
        return ReadInto<std::string>(value, [&](auto& out) { return reader.Text(out); });
    case Tag::Text16:
        return ReadInto<string16_t>(value, [&](auto& out) { return reader.Text16(out); });
    case Tag::Vector: {
        std::uint64_t count = 0;
        // Each item takes a byte at least, which bounds the count before anything is reserved for it.
        if (depth >= MaxValueDepth || !reader.Unsigned(count) || count > reader.Left())
            return false;
        variant_t::Vector items;
        for (std::uint64_t i = 0; i < count; ++i) {
            variant_t item;
            if (!ReadValue(reader, item, depth + 1))
                return false;
            items.push_back(std::move(item));
        }
        value = variant_t(std::move(items));
        return true;
    }
    }
    return false;
}

bool ReadAll(Reader& reader, Event& event) {
    std::uint8_t version = 0;
    std::int32_t initiator = 0;
    std::uint8_t hasUser = 0;
    if (!reader.Byte(version) || version != PayloadVersion || !reader.Narrow(initiator) || !reader.Byte(hasUser) ||
        hasUser > 1)
        return false;
    event.initiator = static_cast<types::EventInitiator::Type>(initiator);
    event.initiatorUser.reset();
    if (hasUser == 1) {
        EventUser user;
        if (!reader.Narrow(user.uid) || !reader.Text16(user.userName))
            return false;
        event.initiatorUser = std::move(user);
    }
    std::uint64_t count = 0;
    if (!reader.Unsigned(count) || count > reader.Left())
        return false;
    event.additional.clear();
    for (std::uint64_t i = 0; i < count; ++i) {
        std::int32_t name = 0;
        EventAdditionalData data;
        if (!reader.Narrow(name) || !reader.Byte(data.hidden) || !ReadValue(reader, data.value, 0))
            return false;
        data.name = static_cast<types::AdditionalName::Type>(name);
        event.additional.push_back(std::move(data));
    }
    return reader.AtEnd();
}

} // namespace

result_t EncodePayload(const Event& event, std::string& bytes) {
    bytes.clear();
    Writer writer(bytes);
    writer.Byte(PayloadVersion);
    writer.Signed(event.initiator);
    writer.Byte(event.initiatorUser ? 1 : 0);
    if (event.initiatorUser) {
        writer.Unsigned(event.initiatorUser->uid);
        writer.Text16(event.initiatorUser->userName);
    }
    writer.Unsigned(event.additional.size());
    for (const EventAdditionalData& data : event.additional) {
        writer.Signed(data.name);
        writer.Byte(data.hidden);
        if (!WriteValue(writer, data.value, 0))
            return ulk::eInvalidArgument;
    }
    return ulk::sOk;
}

bool DecodePayload(std::string_view bytes, Event& event) {
    Reader reader(bytes);
    Event decoded;
    if (!ReadAll(reader, decoded))
        return false;
    event.initiator = decoded.initiator;
    event.initiatorUser = std::move(decoded.initiatorUser);
    event.additional = std::move(decoded.additional);
    return true;
}

} // namespace tfs::service::store
