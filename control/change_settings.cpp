// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/change_settings.h>
#include <control/escape.h>
#include <remote_actions/exceptions.h>
#include <tfs_common/translator.h>

#include <algorithm>

namespace tfs::control {
namespace {

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

ExitCode ChangeSettings(const CommandContext& context, const std::string& what,
                        const std::function<CommandResult()>& change, const TaskRefusals& refusals) {
    try {
        const CommandResult result = change();
        ThrowIfRefused(result.code, what, refusals);
        context.reporter.SettingsChanged(OneLine(result.message));
        return ExitCode::Ok;
    } catch (const remote_actions::InvalidSettingsException& e) {
        Fail(ExitCode::InvalidSettings, e);
    } catch (const remote_actions::SettingsBlockedByPolicyException& e) {
        Fail(ExitCode::BlockedByPolicy, e);
    } catch (const remote_actions::TsnNotAcceptedException& e) {
        Fail(ExitCode::TsnNotAccepted, e);
    } catch (const remote_actions::ActionInvalidResultException& e) {
        ThrowIfFailed(e.Result(), what);
    } catch (const ulk::CheckResultFailedException& e) {
        ThrowIfFailed(e.Code(), what);
    }
    throw Failure(ExitCode::Internal, CannotSetSettings());
}

} // namespace tfs::control
