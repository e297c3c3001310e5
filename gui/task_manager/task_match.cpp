// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/task_manager/task_match.h>

#include <charconv>

namespace tfs::gui {

const TaskTypeSet& ScanTaskTypes() {
    static const TaskTypeSet types{task_type::ODS, task_type::MemoryScan, task_type::BootScan, task_type::ODFIM};
    return types;
}

const TaskTypeSet& UpdateTaskTypes() {
    static const TaskTypeSet types{task_type::Update, task_type::Retranslate};
    return types;
}

IsTaskByTaskIdOrName::IsTaskByTaskIdOrName(const std::string& idOrName)
    : m_name(ulk::text::ToUtf16Lossy(std::string_view(idOrName))) {
    std::uint64_t id = 0;
    const char* const end = idOrName.data() + idOrName.size();
    const auto [stopped, error] = std::from_chars(idOrName.data(), end, id);
    if (error == std::errc() && stopped == end)
        m_id = id;
}

bool IsTaskByTaskIdOrName::operator()(const TaskInfo& task) const {
    return task.core.taskName == m_name || (m_id && task.core.taskId == *m_id);
}

} // namespace tfs::gui
