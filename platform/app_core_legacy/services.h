// SPDX-License-Identifier: GPL-2.0-or-later
// The small objects that the application loader hands out itself.
#pragma once

#include <contract/app_core/loader.h>
#include <foundation/object.h>
#include <foundation/trace.h>
#include <platform/app_core_legacy/root_locator.h>

#include <string>

namespace platform::app_core_legacy {

/// The C library's memory. Any thread.
class MallocAllocator final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ulk::IAllocator> {
public:
    void* Alloc(std::size_t size) noexcept override;
    void* Realloc(void* memory, std::size_t size) noexcept override;
    void Free(void* memory) noexcept override;

private:
    ~MallocAllocator() override = default;
};

/// Stands in where the tracer's module can't be used, so that programs run on in silence.
class SilentTracer final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ulk::ITracer> {
public:
    bool IsEnabled(int) const noexcept override { return false; }
    ulk::TraceBuffer* GetBuffer(int, std::size_t) noexcept override { return nullptr; }
    void Submit(ulk::TraceBuffer*) noexcept override {}
    void Flush() noexcept override {}

private:
    ~SilentTracer() override = default;
};

/// Takes the application's reports and notes them in the trace. Any thread.
class StateReporter final
    : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, app_core::loader::IApplicationStateReporter> {
public:
    explicit StateReporter(ulk::ITracer* tracer) : m_tracer(tracer) {}

    /// eInvalidArgument for a state or control code that doesn't exist.
    result_t StateChanged(app_core::loader::application_state state, std::uint32_t value,
                          app_core::loader::application_control_code controlCode, result_t result) noexcept override;

private:
    ~StateReporter() override = default;

    ulk::Ptr<ulk::ITracer> m_tracer;
};

/// Gives the application the root locator and lets it add services. Any thread.
class InfrastructureLoader final
    : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, app_core::loader::IApplicationInfrastructureLoader> {
public:
    explicit InfrastructureLoader(RootLocator* locator) : m_locator(locator) {}

    result_t GetRootServiceLocator(ulk::IServiceLocator** locator) noexcept override;
    result_t RegisterService(ulk::iid_t iid, const std::string& modulePath, std::uint32_t classId) noexcept override;

private:
    ~InfrastructureLoader() override = default;

    ulk::Ptr<RootLocator> m_locator;
};

} // namespace platform::app_core_legacy
