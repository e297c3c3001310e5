// SPDX-License-Identifier: GPL-2.0-or-later
// What updates and rollbacks share: the sets on disk, and that only one of them works on these at a time.
#pragma once

#include <service/update/set_fetcher.h>
#include <service/update/signature_sets.h>

#include <atomic>
#include <string>

namespace tfs::service::update {

/// Owned by the application object; outlives the task registry.
class UpdateArea {
public:
    /// Folders end in '/'.
    UpdateArea(std::string basesFolder, std::string seedFolder, UpdateConfig config = {});
    UpdateArea(const UpdateArea&) = delete;
    UpdateArea& operator=(const UpdateArea&) = delete;

    /// Opens the sets (see SignatureSets::Open), once, before the first task runs; touches the disk. `folder` is the
    /// one to load, whatever the result.
    result_t Open(std::string& folder, std::string& problem);
    /// From any thread, from memory.
    bool IsRollbackAvailable() const noexcept { return m_isRollbackAvailable; }
    const UpdateConfig& Config() const noexcept { return m_config; }

    /// The right to work on the sets. One at a time; Sets is null for who came second.
    class Turn {
    public:
        explicit Turn(UpdateArea& area) noexcept;
        ~Turn();
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        SignatureSets* Sets() noexcept { return m_isMine ? &m_area.m_sets : nullptr; }

    private:
        UpdateArea& m_area;
        const bool m_isMine;
    };

private:
    const UpdateConfig m_config;
    SignatureSets m_sets; ///< touched by who has the turn
    std::atomic<bool> m_isTaken = false;
    std::atomic<bool> m_isRollbackAvailable = false;
};

} // namespace tfs::service::update
