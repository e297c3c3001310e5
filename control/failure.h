// SPDX-License-Identifier: GPL-2.0-or-later
// A failure that ends the program: its exit code and one line for the user. Thrown inside, reported in one place.
#pragma once

#include <control/exit_codes.h>

#include <stdexcept>
#include <string>

namespace tfs::control {

class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& text) : std::runtime_error(text), m_code(code) {}
    ExitCode Code() const noexcept { return m_code; }

private:
    ExitCode m_code;
};

/// Throws a Failure for a failing code: `what`, ": " and the code's text.
void ThrowIfFailed(result_t result, const std::string& what);

} // namespace tfs::control
