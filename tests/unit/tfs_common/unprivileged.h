// SPDX-License-Identifier: GPL-2.0-or-later
// Takes root's rights from the process while it lives, for what root may do in spite of a file's mode.
#pragma once

#include <exception>
#include <stdexcept>
#include <unistd.h>

namespace test {

class Unprivileged {
public:
    Unprivileged() : m_uid(::geteuid()) {
        constexpr uid_t Nobody = 65534;
        if (m_uid == 0 && ::seteuid(Nobody) != 0)
            throw std::runtime_error("seteuid failed");
    }
    ~Unprivileged() {
        if (::seteuid(m_uid) != 0)
            std::terminate();
    }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

private:
    const uid_t m_uid;
};

} // namespace test
