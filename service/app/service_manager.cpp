// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/service_manager.h>

#include <cstdint>
#include <systemd/sd-daemon.h>

namespace tfs::service::app::service_manager {

void TellReady() noexcept { sd_notify(0, "READY=1"); }
void TellStopping() noexcept { sd_notify(0, "STOPPING=1"); }
void TellAlive() noexcept { sd_notify(0, "WATCHDOG=1"); }

std::optional<std::chrono::microseconds> AliveInterval() noexcept {
    std::uint64_t microseconds = 0;
    if (sd_watchdog_enabled(0, &microseconds) <= 0)
        return std::nullopt;
    return std::chrono::microseconds(microseconds / 2);
}

} // namespace tfs::service::app::service_manager
