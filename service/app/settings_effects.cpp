// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/settings_effects.h>
#include <service/app/settings_events.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace tfs::service::app {
namespace {

bool TracesAlike(const tfs::settings::AppSettings& a, const tfs::settings::AppSettings& b) {
    return a.traceLevel == b.traceLevel && a.traceFolder == b.traceFolder &&
           a.traceMaxFileCount == b.traceMaxFileCount && a.traceMaxFileSize == b.traceMaxFileSize &&
           a.traceFolderSizeLimit == b.traceFolderSizeLimit;
}

} // namespace

tasks::TaskRegistry::UserRules RulesOf(const settings::EffectiveSettings& settings) noexcept {
    return {settings.allowUserManageLocalTasks, settings.allowUserManageGroupTasks,
            settings.application.limitNumberOfScanFileTasks};
}

tfs::settings::BackupSettings LimitsOf(const tfs::settings::AppSettings& settings) noexcept {
    return {settings.daysToLive, settings.backupSizeLimit};
}

std::string SettingsEffects::Apply(const settings::EffectiveSettings& before,
                                   const settings::EffectiveSettings& after) {
    m_areas.tasks.SetUserRules(RulesOf(after));
    m_areas.events.SetMaxEvents(after.application.maxEventsNumber);
    m_areas.systemLog.SetEnabled(after.application.useSyslog);
    m_areas.storage.SetSettings(LimitsOf(after.application));
    if (TracesAlike(before.application, after.application))
        return {};
    const result_t result = m_areas.tracer.Configure(m_root, after.application);
    if (ULK_SUCCEEDED(result))
        return {};
    return "No trace can be written in " + m_root + after.application.traceFolder + ": " +
           std::string(ulk::ResultText(result));
}

void SettingsEffects::OnChange(const settings::SettingsChange& change) noexcept {
    try {
        const std::string problem = Apply(*change.before, *change.after);
        std::optional<EventUser> user;
        if (change.uid)
            user = EventUser{*change.uid, m_names.Resolve(*change.uid)};
        Event changed = MakeSettingsChanged(change, user);
        if (!problem.empty())
            changed.Add(types::AdditionalName::Information, problem);
        m_areas.events.Publish(std::move(changed));
        if (change.before->application.useTsn != change.after->application.useTsn)
            m_areas.events.Publish(MakeTsnStateChanged(change, user));
    } catch (const std::exception& e) { // memory is short; the settings are in force all the same
        ULK_TRACE(m_areas.tracer.Get().Get(), ulk::level::Failure) << "Settings changed untold: " << e.what();
    }
}

void SettingsEffects::OnPolicy(const settings::Policy& policy) noexcept {
    try {
        m_areas.settings.SetPolicy(policy);
        const std::vector<settings::PolicyProblem> before = std::exchange(m_told, policy.problems);
        for (const settings::PolicyProblem& problem : policy.problems) {
            if (std::find(before.begin(), before.end(), problem) != before.end())
                continue;
            ULK_TRACE(m_areas.tracer.Get().Get(), ulk::level::Failure)
                << "Policy not applied: " << problem.path << ": " << problem.reason;
            m_areas.events.Publish(MakePolicyNotApplied(problem));
        }
    } catch (const std::exception& e) {
        ULK_TRACE(m_areas.tracer.Get().Get(), ulk::level::Failure) << "Policy changed untold: " << e.what();
    }
}

} // namespace tfs::service::app
