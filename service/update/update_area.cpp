// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/update_area.h>

#include <utility>

namespace tfs::service::update {

UpdateArea::UpdateArea(std::string basesFolder, std::string seedFolder, UpdateConfig config)
    : m_config(std::move(config)), m_sets(std::move(basesFolder), std::move(seedFolder)) {}

result_t UpdateArea::Open(std::string& folder, std::string& problem) {
    Turn turn(*this);
    if (turn.Sets() == nullptr)
        return ulk::eInvalidState;
    const result_t result = m_sets.Open(problem);
    folder = m_sets.CurrentFolder();
    return result;
}

UpdateArea::Turn::Turn(UpdateArea& area) noexcept : m_area(area), m_isMine(!area.m_isTaken.exchange(true)) {}

UpdateArea::Turn::~Turn() {
    if (!m_isMine)
        return;
    m_area.m_isRollbackAvailable = m_area.m_sets.IsRollbackAvailable();
    m_area.m_isTaken = false;
}

} // namespace tfs::service::update
