// SPDX-License-Identifier: GPL-2.0-or-later
// The service manager that started us, where there is one.
#pragma once

#include <chrono>
#include <optional>

namespace tfs::service::app::service_manager {

/// Each does nothing where no service manager listens.
void TellReady() noexcept;
void TellStopping() noexcept;
void TellAlive() noexcept;
/// How often TellAlive is expected; empty where it isn't.
std::optional<std::chrono::microseconds> AliveInterval() noexcept;

} // namespace tfs::service::app::service_manager
