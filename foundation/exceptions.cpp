// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>

#include <string_view>

namespace ulk {
namespace {

void Separate(types::string16_t& text) {
    if (!text.empty())
        text.append(u": ");
}

void AppendHex8(types::string16_t& text, std::uint32_t value) {
    constexpr char16_t kDigits[] = u"0123456789abcdef";
    for (int shift = 28; shift >= 0; shift -= 4)
        text.push_back(kDigits[(value >> shift) & 0xFu]);
}

} // namespace

Exception::Exception(const Exception& other)
    : ExceptionBase(other), m_file(other.m_file), m_line(other.m_line), m_value(other.m_value),
      m_message(other.m_message), m_inner(other.m_inner ? other.m_inner->Clone() : nullptr) {}

Exception& Exception::operator=(const Exception& other) {
    if (this != &other) {
        Exception copy(other);
        *this = std::move(copy);
    }
    return *this;
}

Exception::~Exception() = default;

void Exception::Describe(types::string16_t&) const {}

void ResultCodeException::Describe(types::string16_t& text) const {
    Separate(text);
    text.append(u"0x");
    AppendHex8(text, static_cast<std::uint32_t>(m_code));
    text.append(u" (");
    for (const char c : ResultText(m_code))
        text.push_back(static_cast<char16_t>(c));
    text.push_back(u')');
}

void GetInterfaceException::Describe(types::string16_t& text) const {
    Separate(text);
    text.append(u"iid:");
    AppendHex8(text, m_iid);
}

} // namespace ulk
