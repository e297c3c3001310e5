// SPDX-License-Identifier: GPL-2.0-or-later
// Numbers by which the Reports page knows the components.
#pragma once

#include <foundation/string16.h>

#include <cstdint>
#include <optional>

namespace tfs::gui {

enum class ComponentId : std::uint8_t {
    SystemAudit = 0,
    AntiCryptor = 1,
    OAFIM = 2,
    Firewall = 3,
    OAS = 4,
    ODS = 5,
    Updates = 6,
    ODFIM = 7,
};

/// The component that reports on tasks of a type; nothing for a type without one.
std::optional<ComponentId> ComponentOfTaskType(const ulk::types::string16_t& taskType);

} // namespace tfs::gui
