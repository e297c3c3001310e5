// SPDX-License-Identifier: GPL-2.0-or-later
// Waiting for a condition with a generous deadline.
#pragma once

#include <chrono>
#include <thread>

namespace tfs::service::tests {

template <class Condition>
bool Eventually(Condition condition, std::chrono::milliseconds deadline = std::chrono::seconds(20)) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace tfs::service::tests
