// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/value_text.h>
#include <service/app/settings_events.h>

namespace tfs::service::app {
namespace {

using types::AdditionalName;

Event MakeEvent(types::EventName::Type type, const std::optional<EventUser>& user) {
    Event event;
    event.type = type;
    if (user) {
        event.initiator = types::EventInitiator::User;
        event.initiatorUser = user;
    }
    return event;
}

void Append(std::string& text, std::string_view key, std::string_view value) {
    text.append(text.empty() ? "" : ", ").append(key).append("=").append(value);
}

/// What changed, application settings first.
std::string Describe(const settings::SettingsChange& change) {
    std::string text;
    for (const tfs::settings::ChangeItem& item : change.items)
        Append(text, item.key, item.value);
    const settings::EffectiveSettings& before = *change.before;
    const settings::EffectiveSettings& after = *change.after;
    if (before.allowUserManageLocalTasks != after.allowUserManageLocalTasks)
        Append(text, "AllowUserManageLocalTasks", types::ToSettingText(after.allowUserManageLocalTasks));
    if (before.allowUserManageGroupTasks != after.allowUserManageGroupTasks)
        Append(text, "AllowUserManageGroupTasks", types::ToSettingText(after.allowUserManageGroupTasks));
    if (before.isUnderPolicy != after.isUnderPolicy || before.policyName != after.policyName)
        Append(text, "Policy", after.policyName);
    return text;
}

} // namespace

Event MakeSettingsChanged(const settings::SettingsChange& change, const std::optional<EventUser>& user) {
    Event event = MakeEvent(types::EventName::ApplicationSettingsChanged, user);
    event.Add(AdditionalName::Settings, ulk::text::ToUtf16Lossy(Describe(change)));
    return event;
}

Event MakeTsnStateChanged(const settings::SettingsChange& change, const std::optional<EventUser>& user) {
    Event event = MakeEvent(types::EventName::TsnStateChanged, user);
    event.Add(AdditionalName::TsnState, static_cast<std::uint32_t>(change.after->application.useTsn));
    return event;
}

Event MakePolicyNotApplied(const settings::PolicyProblem& problem) {
    Event event;
    event.type = types::EventName::PolicyNotApplied;
    event.severity = types::EventSeverity::High;
    event.Add(AdditionalName::Path, problem.path);
    event.Add(AdditionalName::Reason, problem.reason);
    return event;
}

Event MakeSettingsNotUsed(const std::string& path, const std::string& problem) {
    Event event;
    event.type = types::EventName::IntegrityCheckFailed;
    event.severity = types::EventSeverity::High;
    event.Add(AdditionalName::Path, path);
    event.Add(AdditionalName::Information, problem);
    return event;
}

} // namespace tfs::service::app
