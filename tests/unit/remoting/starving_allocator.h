// SPDX-License-Identifier: GPL-2.0-or-later
// Memory that runs out when a test says so. A program that links this has an operator new of its own.
#pragma once

namespace tfs::test {

/// While it lives, the calling thread gets so many allocations and then std::bad_alloc. One at a time on a thread.
class Starvation {
public:
    explicit Starvation(int allocations) noexcept;
    ~Starvation();
    Starvation(const Starvation&) = delete;
    Starvation& operator=(const Starvation&) = delete;
};

} // namespace tfs::test
