// SPDX-License-Identifier: GPL-2.0-or-later
// The one owner of the service's settings: what is stored, the policy over it, and what is in force of both.
#pragma once

#include <contract/tfs/settings.h>
#include <foundation/object.h>
#include <foundation/sync.h>
#include <service/settings/policy.h>
#include <service/settings/service_settings.h>

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tfs::service::settings {

/// The stored settings with the policy over them. Never changes once it is made.
struct EffectiveSettings {
    tfs::settings::AppSettings application;
    bool allowUserManageLocalTasks = true;
    bool allowUserManageGroupTasks = true;
    bool isUnderPolicy = false;
    std::string policyName; ///< UTF-8
    friend bool operator==(const EffectiveSettings&, const EffectiveSettings&) = default;
};

struct SettingsChange {
    std::shared_ptr<const EffectiveSettings> before;
    std::shared_ptr<const EffectiveSettings> after;
    std::vector<tfs::settings::ChangeItem> items; ///< application settings that are now others, in their new form, and
                                                  ///< UseTSN where another statement has been accepted
    std::optional<std::uint32_t> uid;             ///< who asked for it; empty where a policy did
};

/// Owned by the application object and outlives all who read. Current may be called from any thread and never waits
/// for the disk; Apply and SetPolicy touch it, one at a time.
class SettingsStore {
public:
    struct Options {
        std::string path;                       ///< of the settings file
        std::string statementPath;              ///< of the security network's statement
        ulk::Ptr<ulk::IServiceLocator> locator; ///< has the tracer that is told why a list is refused; may be null
    };
    using Listener = std::function<void(const SettingsChange&)>;

    SettingsStore(Options options, LoadedSettings loaded);

    std::shared_ptr<const EffectiveSettings> Current() const;
    /// What is stored beside application settings never changes while the service runs.
    const ServiceSettings& AtStart() const noexcept { return m_atStart; }

    /// Applies the whole list or nothing: what isn't sOk has changed nothing, neither in memory nor on disk, and
    /// `messages` says why. A file that wasn't used is set aside. sInvalidSettings, eBlockedByPolicy and
    /// eTsnNotAccepted as in the contract; eInvalidType for a list that isn't for application settings; else the code
    /// of the system call that failed.
    result_t Apply(const tfs::settings::SettingsChangeList& changes, bool acceptTsn, std::uint32_t uid,
                   std::vector<tfs::settings::ValidationMessage>& messages) noexcept;
    /// Puts another policy over what is stored. Where it throws, std::bad_alloc, nothing has changed.
    void SetPolicy(Policy policy);

    /// Called for each change, in their order and without a lock, on the thread that made it or another one that was
    /// just telling an earlier one. Must not throw. Added before there are other threads.
    void Listen(Listener listener) { m_listeners.push_back(std::move(listener)); }

private:
    using Messages = std::vector<tfs::settings::ValidationMessage>;
    using Untold = std::list<SettingsChange>; ///< moves from one list to another without allocating

    result_t Check(const tfs::settings::SettingsChangeList& changes, tfs::settings::AppSettings& updated,
                   Messages& messages) const ULK_REQUIRES(m_changeMutex);
    result_t CheckStatement(const tfs::settings::SettingsChangeList& changes, bool acceptTsn, ServiceSettings& next,
                            Messages& messages) const;
    result_t Save(const ServiceSettings& next) ULK_REQUIRES(m_changeMutex);
    std::shared_ptr<const EffectiveSettings> Combine(const ServiceSettings& stored, const Policy& policy) const;
    Untold Prepare(const ServiceSettings& stored, const Policy& policy, std::optional<std::uint32_t> uid) const
        ULK_REQUIRES(m_changeMutex);
    void PutInForce(Untold change) noexcept ULK_REQUIRES(m_changeMutex);
    void Tell();

    const Options m_options;
    const ServiceSettings m_atStart;
    std::vector<Listener> m_listeners;

    ulk::Mutex m_changeMutex; ///< held over the writing of the file, and never by those who only read
    ServiceSettings m_stored ULK_GUARDED_BY(m_changeMutex);
    Policy m_policy ULK_GUARDED_BY(m_changeMutex);
    OldFile m_oldFile ULK_GUARDED_BY(m_changeMutex); ///< set aside while it holds what somebody may want back

    mutable ulk::Mutex m_mutex;
    std::shared_ptr<const EffectiveSettings> m_current ULK_GUARDED_BY(m_mutex);
    Untold m_untold ULK_GUARDED_BY(m_mutex);
    bool m_isTelling ULK_GUARDED_BY(m_mutex) = false;
};

} // namespace tfs::service::settings
