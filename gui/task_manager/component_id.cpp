// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/tasks.h>
#include <gui/task_manager/component_id.h>

#include <unordered_map>

namespace tfs::gui {

std::optional<ComponentId> ComponentOfTaskType(const ulk::types::string16_t& taskType) {
    static const std::unordered_map<ulk::types::string16_t, ComponentId> components{
        {task_type::AntiCryptor, ComponentId::AntiCryptor},
        {task_type::OAFIM, ComponentId::OAFIM},
        {task_type::Firewall, ComponentId::Firewall},
        {task_type::OAS, ComponentId::OAS},
        {task_type::ODS, ComponentId::ODS},
        {task_type::MemoryScan, ComponentId::ODS},
        {task_type::BootScan, ComponentId::ODS},
        {task_type::Update, ComponentId::Updates},
        {task_type::Retranslate, ComponentId::Updates},
        {task_type::Rollback, ComponentId::Updates},
        {task_type::ODFIM, ComponentId::ODFIM},
    };
    const auto found = components.find(taskType);
    if (found == components.end())
        return std::nullopt;
    return found->second;
}

} // namespace tfs::gui
