// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/backup_manager/backup_actions.h>
#include <gui/backup_manager/backup_fill_watch.h>

#include <chrono>
#include <exception>
#include <utility>

namespace tfs::gui {
namespace {

/// Enough where there are some hundred objects.
constexpr std::chrono::milliseconds FirstPatience{50};

} // namespace

BackupFillWatch::BackupFillWatch(std::function<void()> changed) : m_changed(std::move(changed)) {}

BackupFillWatch::~BackupFillWatch() {
    {
        const ulk::LockGuard lock(m_mutex);
        m_closed = true;
    }
    if (m_measurement.valid())
        m_measurement.wait();
}

result_t BackupFillWatch::GetBackupFillPercentage(ulk::IServiceLocator* remoteSl, uint32_t& percentage) {
    bool begin = false;
    bool isFirst = false;
    Measured last;
    {
        const ulk::LockGuard lock(m_mutex);
        last = m_last;
        isFirst = !std::exchange(m_hasAsked, true);
        begin = !std::exchange(m_running, true);
        m_again = !begin;
    }
    if (begin) {
        try {
            m_measurement = std::async(std::launch::async, [this, remote = ulk::Ptr<ulk::IServiceLocator>(remoteSl)] {
                Measure(remote.Get());
            });
        } catch (const std::exception&) { // no thread can be had; the next refresh tries again
            const ulk::LockGuard lock(m_mutex);
            m_running = false;
            isFirst = false;
        }
    }
    if (isFirst)
        last = WaitAMoment();
    percentage = last.percentage;
    return last.result;
}

/// For the figure, not for the measurement's end: whoever asks may hold what `m_changed` waits for.
BackupFillWatch::Measured BackupFillWatch::WaitAMoment() {
    const auto end = std::chrono::steady_clock::now() + FirstPatience;
    ulk::LockGuard lock(m_mutex);
    while (!m_hasMeasured && m_measured.wait_until(lock, end) != std::cv_status::timeout) {
    }
    return m_last;
}

void BackupFillWatch::Measure(ulk::IServiceLocator* remoteSl) noexcept {
    for (;;) {
        Measured now;
        now.result = BackupActions::GetBackupFillPercentage(remoteSl, now.percentage);
        bool tell = false;
        {
            const ulk::LockGuard lock(m_mutex);
            tell = !m_closed && m_last.percentage != now.percentage;
            m_last = now;
            m_hasMeasured = true;
            m_measured.notify_all();
        }
        // Before the end is noted: whoever asks meanwhile may hold what `m_changed` waits for, and doesn't wait here.
        if (tell)
            m_changed();
        const ulk::LockGuard lock(m_mutex);
        if (m_closed || !std::exchange(m_again, false)) {
            m_running = false;
            return;
        }
    }
}

} // namespace tfs::gui
