// SPDX-License-Identifier: GPL-2.0-or-later
// How full Storage is, for models that may not wait for it.
#pragma once

#include <foundation/object.h>
#include <foundation/result.h>
#include <foundation/sync.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <future>

namespace tfs::gui {

/// Measures on a thread of its own with BackupActions::GetBackupFillPercentage, which asks for every object: with many
/// of them the GUI thread can't wait for it at each refresh. Owned by a model and used on the model's thread.
class BackupFillWatch {
public:
    /// `changed` is called on the measuring thread when a measurement has found another percentage than the one before
    /// it; the model then refreshes once more. It throws nothing.
    explicit BackupFillWatch(std::function<void()> changed);
    /// Waits for a measurement that is under way, at most the deadline of its calls; `changed` isn't called any more.
    ~BackupFillWatch();
    BackupFillWatch(const BackupFillWatch&) = delete;
    BackupFillWatch& operator=(const BackupFillWatch&) = delete;

    /// Result and percentage of the last measurement, at once. Only the first question waits a moment for its answer,
    /// so that a model doesn't begin with a Storage that seems to have room; eNotReady where that wasn't enough. Begins
    /// the next unless one is under way, in which case another follows it: what has happened up to now is measured in
    /// any case.
    result_t GetBackupFillPercentage(ulk::IServiceLocator* remoteSl, uint32_t& percentage);

private:
    struct Measured {
        result_t result = ulk::eNotReady;
        std::uint32_t percentage = 0;
    };

    Measured WaitAMoment();
    void Measure(ulk::IServiceLocator* remoteSl) noexcept;

    const std::function<void()> m_changed;
    ulk::Mutex m_mutex;
    std::condition_variable_any m_measured;
    Measured m_last ULK_GUARDED_BY(m_mutex);
    bool m_hasAsked ULK_GUARDED_BY(m_mutex) = false;
    bool m_hasMeasured ULK_GUARDED_BY(m_mutex) = false;
    bool m_running ULK_GUARDED_BY(m_mutex) = false;
    bool m_again ULK_GUARDED_BY(m_mutex) = false;
    bool m_closed ULK_GUARDED_BY(m_mutex) = false;
    std::future<void> m_measurement;
};

} // namespace tfs::gui
