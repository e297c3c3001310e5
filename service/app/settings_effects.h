// SPDX-License-Identifier: GPL-2.0-or-later
// What follows from settings and policy: each area gets its part at once, and everybody is told.
#pragma once

#include <foundation/sync.h>
#include <service/app/service_tracer.h>
#include <service/app/system_log.h>
#include <service/settings/settings_store.h>
#include <service/storage/storage_area.h>
#include <service/store/event_bus.h>
#include <service/tasks/task_registry.h>
#include <service/tasks/user_names.h>

#include <string>
#include <vector>

namespace tfs::service::app {

/// Owned by the application object; what it is given outlives it.
class SettingsEffects {
public:
    struct Areas {
        settings::SettingsStore& settings;
        ServiceTracer& tracer;
        store::EventBus& events;
        tasks::TaskRegistry& tasks;
        SystemLogForwarder& systemLog;
        storage::StorageArea& storage;
    };

    /// `root` is put before the paths of the settings.
    SettingsEffects(std::string root, Areas areas) : m_root(std::move(root)), m_areas(areas) {}

    /// The store's listener: one call at a time, on any thread.
    void OnChange(const settings::SettingsChange& change) noexcept;
    /// The policy watcher's listener: hands the policy on and tells what of it isn't applied, once for each fault.
    void OnPolicy(const settings::Policy& policy) noexcept;

private:
    /// What couldn't be done, for people; empty where everything was.
    std::string Apply(const settings::EffectiveSettings& before, const settings::EffectiveSettings& after);

    const std::string m_root;
    const Areas m_areas;
    tasks::UserNames m_names;
    std::vector<settings::PolicyProblem> m_told; ///< of the watcher's thread
};

/// How much Storage keeps, and for how long.
tfs::settings::BackupSettings LimitsOf(const tfs::settings::AppSettings& settings) noexcept;

/// What the settings in force let users do.
tasks::TaskRegistry::UserRules RulesOf(const settings::EffectiveSettings& settings) noexcept;

} // namespace tfs::service::app
