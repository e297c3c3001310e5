// SPDX-License-Identifier: GPL-2.0-or-later
// Reads the policy folder whenever something in it changes, or when it comes or goes.
#pragma once

#include <foundation/object.h>
#include <foundation/trace.h>
#include <service/settings/file_io.h>
#include <service/settings/folder_watch.h>
#include <service/settings/policy.h>

#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <thread>

namespace tfs::service::settings {

/// Owned by the application object, which starts and stops it.
class PolicyWatcher {
public:
    using Changed = std::function<void(const Policy&)>;

    /// `changed` gets the policy after the start and whenever another one is read. It is called on the thread that
    /// starts and then on the watcher's own, without a lock, and must not throw. `folder` ends in '/'. The locator has
    /// the tracer, and may be null.
    PolicyWatcher(std::string folder, uid_t owner, ulk::Ptr<ulk::IServiceLocator> locator, Changed changed);
    ~PolicyWatcher();
    PolicyWatcher(const PolicyWatcher&) = delete;
    PolicyWatcher& operator=(const PolicyWatcher&) = delete;

    /// Watches, then reads, so that no change falls between. Where the system can't watch, the folder is read again
    /// from time to time.
    void Start();
    /// No call is made any more when it returns. Safe to call twice.
    void Stop() noexcept;

private:
    void Run() noexcept;
    void Read();
    /// False when it is to stop.
    bool WaitForChange();
    bool WaitForQuiet();

    const std::string m_folder;
    const uid_t m_owner;
    const ulk::Ptr<ulk::IServiceLocator> m_locator;
    ulk::Ptr<ulk::ITracer> m_tracer;
    const Changed m_changed;
    const Descriptor m_stop;
    std::thread m_thread;

    // Of the starting thread, then of the watcher's.
    FolderWatch m_watch;
    std::optional<Policy> m_last;
    bool m_isFailureTraced = false;
};

} // namespace tfs::service::settings
