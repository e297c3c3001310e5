// SPDX-License-Identifier: GPL-2.0-or-later
// The process's tracer: one line a record, in rotated files. Made and configured by the application loader; used from
// any thread. Silent until it is configured and whenever its files are refused.
#pragma once

#include <contract/app_core/tracer_service.h>
#include <foundation/object.h>
#include <foundation/sync.h>
#include <foundation/trace.h>
#include <platform/instrumental_services/line_format.h>
#include <platform/instrumental_services/rotating_log.h>

#include <atomic>
#include <memory>
#include <vector>

namespace platform::instrumental {

class Tracer final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ulk::ITracer, app_core::ITracerConfigurator> {
public:
    Tracer() = default;

    bool IsEnabled(int level) const noexcept override { return level <= m_threshold.load(std::memory_order_relaxed); }
    ulk::TraceBuffer* GetBuffer(int level, std::size_t size) noexcept override;
    void Submit(ulk::TraceBuffer* buffer) noexcept override;
    void Flush() noexcept override;

    /// With tracing off nothing is opened or created.
    result_t Configure(const app_core::loader::TracerSettings& settings) noexcept override;

private:
    ~Tracer() override = default;

    void WriteLine(const ulk::TraceBuffer& buffer);
    void GiveBack(std::unique_ptr<ulk::TraceBuffer> buffer) noexcept;

    /// Levels up to this one are written.
    std::atomic<int> m_threshold{kSilent};
    static constexpr int kSilent = -1;

    ulk::Mutex m_mutex;
    RotatingLog m_log ULK_GUARDED_BY(m_mutex);
    LineFormat m_format ULK_GUARDED_BY(m_mutex){""};
    std::string m_line ULK_GUARDED_BY(m_mutex);

    ulk::Mutex m_poolMutex;
    std::vector<std::unique_ptr<ulk::TraceBuffer>> m_pool ULK_GUARDED_BY(m_poolMutex);
};

} // namespace platform::instrumental
