// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/marnow.h>
#include <foundation/module.h>
#include <foundation/result.h>
#include <platform/loader/framework.h>

#include <new>

namespace {

template <class Call>
result_t Guarded(Call&& call) noexcept {
    try {
        return call(platform::loader::ProcessFramework());
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    } catch (...) {
        return ulk::eUnspecified;
    }
}

} // namespace

ULK_MODULE_EXPORT result_t marnowInitialize(const marnow::StartParameters* parameters, ulk::IServiceLocator* locator) {
    return Guarded([&](auto& framework) { return framework.Initialize(parameters, locator); });
}

ULK_MODULE_EXPORT result_t marnowGetRootProvider(marnow::IRootProvider** provider) {
    return Guarded([&](auto& framework) { return framework.GetRootProvider(provider); });
}

ULK_MODULE_EXPORT result_t marnowShutdown() {
    return Guarded([](auto& framework) { return framework.Shutdown(); });
}

ULK_MODULE_EXPORT std::uint32_t ulkGetLiveObjectCount() { return ulk::ObjectModuleAutoLockTyped::LiveObjects(); }
