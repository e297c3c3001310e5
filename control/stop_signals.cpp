// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/stop_signals.h>

#include <atomic>
#include <csignal>

namespace tfs::control {

namespace {

std::atomic<unsigned> signalCount{0};
static_assert(std::atomic<unsigned>::is_always_lock_free, "written by a signal handler");

void OnSignal(int) { signalCount.fetch_add(1, std::memory_order_relaxed); }

} // namespace

void CountStopSignals() {
    struct sigaction action {};
    action.sa_handler = OnSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

unsigned StopSignals() noexcept { return signalCount.load(std::memory_order_relaxed); }

} // namespace tfs::control
