// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/result.h>
#include <platform/app_core_legacy/services.h>

#include <cstdlib>
#include <new>

namespace platform::app_core_legacy {

using namespace app_core::loader;

void* MallocAllocator::Alloc(std::size_t size) noexcept { return std::malloc(size); }
void* MallocAllocator::Realloc(void* memory, std::size_t size) noexcept { return std::realloc(memory, size); }
void MallocAllocator::Free(void* memory) noexcept { std::free(memory); }

result_t StateReporter::StateChanged(application_state state, std::uint32_t value, application_control_code controlCode,
                                     result_t result) noexcept {
    if (state != application_state::Starting || controlCode != application_control_code::None)
        return ulk::eInvalidArgument;
    try {
        ULK_TRACE(m_tracer.Get(), ulk::level::Notable)
            << "Application state: starting, expected to last " << value << " ms, " << ulk::ResultText(result);
    } catch (...) {
        // A report that can't be noted is taken all the same.
    }
    return ulk::sOk;
}

result_t InfrastructureLoader::GetRootServiceLocator(ulk::IServiceLocator** locator) noexcept {
    if (locator == nullptr)
        return ulk::eInvalidArgument;
    *locator = ulk::Ptr<RootLocator>(m_locator).Detach();
    return ulk::sOk;
}

result_t InfrastructureLoader::RegisterService(ulk::iid_t iid, const std::string& modulePath,
                                               std::uint32_t classId) noexcept {
    try {
        return m_locator->AddClass(iid, modulePath, classId);
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    } catch (...) {
        return ulk::eUnspecified;
    }
}

} // namespace platform::app_core_legacy
