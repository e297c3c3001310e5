// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>
#include <wire/text.h>

#include <bit>
#include <cstring>

namespace tfs::wire {

static_assert(std::endian::native == std::endian::little, "texts travel in little-endian code units");

capnp::Data::Reader AsData(std::u16string_view text) noexcept {
    return capnp::Data::Reader(reinterpret_cast<const capnp::byte*>(text.data()), text.size() * sizeof(char16_t));
}

capnp::Data::Reader AsData(std::string_view bytes) noexcept {
    return capnp::Data::Reader(reinterpret_cast<const capnp::byte*>(bytes.data()), bytes.size());
}

std::u16string ReadText(capnp::Data::Reader data) {
    if (data.size() % sizeof(char16_t) != 0)
        throw ulk::InvalidArgumentException(__FILE__, __LINE__, ulk::eInvalidArgument);
    std::u16string text(data.size() / sizeof(char16_t), u'\0');
    if (!text.empty())
        std::memcpy(text.data(), data.begin(), data.size());
    return text;
}

void ReadText(capnp::Data::Reader data, ulk::types::string16_t& text) {
    if (data.size() % sizeof(char16_t) != 0)
        throw ulk::InvalidArgumentException(__FILE__, __LINE__, ulk::eInvalidArgument);
    text.clear();
    text.resize(data.size() / sizeof(char16_t));
    if (!text.empty())
        std::memcpy(text.data(), data.begin(), data.size());
}

std::string ReadBytes(capnp::Data::Reader data) {
    return std::string(reinterpret_cast<const char*>(data.begin()), data.size());
}

} // namespace tfs::wire
