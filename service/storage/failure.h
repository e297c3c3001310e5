// SPDX-License-Identifier: GPL-2.0-or-later
// The one exception of Storage: a code for programs and a line for people.
#pragma once

#include <foundation/result.h>

#include <stdexcept>
#include <string>

namespace tfs::service::storage {

class Failure : public std::runtime_error {
public:
    Failure(result_t code, const std::string& why) : std::runtime_error(why), m_code(code) {}
    /// Of a system call that failed: "<what>: <the system's words>".
    static Failure OfErrno(int error, const std::string& what);
    /// Of anything that was thrown.
    static Failure Of(const std::exception& thrown);
    result_t Code() const noexcept { return m_code; }

private:
    result_t m_code;
};

/// A full disk is eInsufficientResources and a read-only one eReadOnlyFileSystem, all else as everywhere.
result_t CodeOfErrno(int error) noexcept;

} // namespace tfs::service::storage
