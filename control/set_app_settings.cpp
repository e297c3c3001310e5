// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/escape.h>
#include <control/set_app_settings.h>
#include <remote_actions/exceptions.h>
#include <remote_actions/set_app_settings.h>
#include <tfs_common/translator.h>

#include <algorithm>

namespace tfs::control {
namespace {

constexpr char Refused[] = "Cannot change the settings";

/// Lines of the service's messages as one.
std::string OneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::string CannotSetSettings() { return localization::GetLocalizedString(localization::entry::CannotSetSettings); }

[[noreturn]] void Fail(ExitCode code, const remote_actions::CommandException& refusal) {
    const std::string text = EscapeForTerminal(OneLine(refusal.Text()));
    throw Failure(code, text.empty() ? CannotSetSettings() : text);
}

} // namespace

ExitCode SetAppSettings(const CommandContext& context, const std::vector<settings::ChangeItem>& changes,
                        const std::string& file, bool acceptTsn) {
    settings::SettingsChangeList list;
    list.items = changes;
    try {
        const CommandResult result =
            remote_actions::MakeSetAppSettings(context.local, file, acceptTsn, std::move(list))->Exec(context.remote);
        ThrowIfFailed(result.code, Refused);
        context.reporter.AppSettingsChanged(OneLine(result.message));
        return ExitCode::Ok;
    } catch (const remote_actions::InvalidSettingsException& e) {
        Fail(ExitCode::InvalidSettings, e);
    } catch (const remote_actions::SettingsBlockedByPolicyException& e) {
        Fail(ExitCode::BlockedByPolicy, e);
    } catch (const remote_actions::TsnNotAcceptedException& e) {
        Fail(ExitCode::TsnNotAccepted, e);
    } catch (const remote_actions::ActionInvalidResultException& e) {
        ThrowIfFailed(e.Result(), Refused);
    } catch (const ulk::CheckResultFailedException& e) {
        ThrowIfFailed(e.Code(), Refused);
    }
    throw Failure(ExitCode::Internal, CannotSetSettings());
}

} // namespace tfs::control
