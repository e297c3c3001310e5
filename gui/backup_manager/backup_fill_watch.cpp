// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/backup_manager/backup_actions.h>
#include <gui/backup_manager/backup_fill_watch.h>

#include <exception>
#include <utility>

namespace tfs::gui {

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
    Measured last;
    bool begin = false;
    {
        const ulk::LockGuard lock(m_mutex);
        last = m_last;
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
        }
    }
    percentage = last.percentage;
    return last.result;
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
