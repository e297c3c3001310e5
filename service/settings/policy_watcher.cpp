// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/objclient.h>
#include <service/settings/policy_folder.h>
#include <service/settings/policy_watcher.h>

#include <cerrno>
#include <cstdint>
#include <exception>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace tfs::service::settings {
namespace {

constexpr int QuietMs = 50;            ///< without a change for so long the folder is read
constexpr int LongestUnrest = 20;      ///< so many changes aren't waited out
constexpr int UnwatchedMs = 60 * 1000; ///< between readings where the system can't watch
constexpr int ForEver = -1;

} // namespace

PolicyWatcher::PolicyWatcher(std::string folder, uid_t owner, ulk::Ptr<ulk::IServiceLocator> locator, Changed changed)
    : m_folder(std::move(folder)), m_owner(owner), m_locator(std::move(locator)), m_changed(std::move(changed)),
      m_stop(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), m_watch(m_folder) {
    (void)ulk::GetInterface(m_locator.Get(), m_tracer.Ref());
}

PolicyWatcher::~PolicyWatcher() { Stop(); }

void PolicyWatcher::Start() {
    Read();
    m_thread = std::thread([this] { Run(); });
}

void PolicyWatcher::Stop() noexcept {
    if (!m_thread.joinable())
        return;
    const std::uint64_t one = 1;
    while (::write(m_stop.Get(), &one, sizeof one) < 0 && errno == EINTR) {
    }
    m_thread.join();
}

void PolicyWatcher::Read() {
    const result_t watched = m_watch.Arm();
    if (!ULK_SUCCEEDED(watched) && !std::exchange(m_isFailureTraced, true)) {
        ULK_TRACE(m_tracer.Get(), ulk::level::Failure)
            << "Policy folder can't be watched: " << ulk::ResultText(watched);
    }
    Policy policy = ReadPolicyFolder(m_locator.Get(), m_folder, m_owner);
    if (m_last && *m_last == policy)
        return;
    m_last = std::move(policy);
    m_changed(*m_last);
}

bool PolicyWatcher::WaitForChange() {
    for (;;) {
        pollfd waits[] = {{m_stop.Get(), POLLIN, 0}, {m_watch.Handle(), POLLIN, 0}};
        const int count = ::poll(waits, 2, m_watch.Handle() < 0 ? UnwatchedMs : ForEver);
        if (waits[0].revents != 0)
            return false;
        if (count == 0 || (waits[1].revents != 0 && m_watch.TakeChanges()))
            return true;
    }
}

bool PolicyWatcher::WaitForQuiet() {
    for (int i = 0; i < LongestUnrest; ++i) {
        pollfd waits[] = {{m_stop.Get(), POLLIN, 0}, {m_watch.Handle(), POLLIN, 0}};
        const int count = ::poll(waits, 2, QuietMs);
        if (waits[0].revents != 0)
            return false;
        if (count == 0)
            return true;
        (void)m_watch.TakeChanges();
    }
    return true;
}

void PolicyWatcher::Run() noexcept {
    while (WaitForChange() && WaitForQuiet()) {
        try {
            Read();
        } catch (const std::exception& e) { // memory is short; the next change is another chance
            ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "Policy can't be read: " << e.what();
        }
    }
}

} // namespace tfs::service::settings
