// SPDX-License-Identifier: GPL-2.0-or-later
// Texts between the framework's strings and the message.
#pragma once

#include <foundation/string16.h>

#include <capnp/blob.h>
#include <string>
#include <string_view>

namespace tfs::wire {

/// The bytes of a text, valid as long as the text.
capnp::Data::Reader AsData(std::u16string_view text) noexcept;
capnp::Data::Reader AsData(std::string_view bytes) noexcept;

/// Any code units are taken as they are, lone surrogates too. An odd number of bytes throws
/// ulk::InvalidArgumentException.
std::u16string ReadText(capnp::Data::Reader data);
void ReadText(capnp::Data::Reader data, ulk::types::string16_t& text);
std::string ReadBytes(capnp::Data::Reader data);

} // namespace tfs::wire
