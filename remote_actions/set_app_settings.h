// SPDX-License-Identifier: GPL-2.0-or-later
// The command that applies a list of changes to the application settings.
#pragma once

#include <contract/tfs/settings.h>
#include <foundation/trace.h>
#include <remote_actions/action.h>

#include <memory>
#include <string>

namespace tfs::remote_actions {

class SetAppSettings final : public IAction {
public:
    /// `locator` is the process's own; its tracer is used, and it may have none.
    explicit SetAppSettings(ulk::IServiceLocator* locator);

    /// Whether the user accepts the statement of the security network with this request.
    void SetAcceptTsn(bool accept);
    void SetSettings(settings::SettingsChangeList&& changes);
    /// Path of a settings file, read anew by each Exec; its items then stand for those of SetSettings. Empty for none.
    void SetFile(const std::string& path);

    /// Throws InvalidSettingsException for a file that can't be read, for refused settings, and for a list or a file
    /// without items unless the list may be empty; SettingsBlockedByPolicyException, TsnNotAcceptedException,
    /// ActionInvalidResultException for a user who isn't allowed. Every other code of the service is in the result,
    /// failures among them.
    CommandResult Exec(ulk::IServiceLocator* remote) override;

private:
    const ulk::Ptr<ulk::IServiceLocator> m_locator;
    ulk::Ptr<ulk::ITracer> m_tracer;
    bool m_acceptTsn = false;
    std::string m_file;
    settings::SettingsChangeList m_changes;
};

std::unique_ptr<SetAppSettings> MakeSetAppSettings(ulk::IServiceLocator* locator, const std::string& file,
                                                   bool acceptTsn, settings::SettingsChangeList&& changes);

} // namespace tfs::remote_actions
