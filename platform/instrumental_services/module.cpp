// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/app_core/tracer_service.h>
#include <platform/common/module_entry.h>
#include <platform/instrumental_services/tracer.h>

namespace {

constexpr platform::ModuleClass kClasses[] = {
    platform::ClassOf<platform::instrumental::Tracer>(app_core::TracerClass),
};

} // namespace

ULK_MODULE_EXPORT result_t ulkGetObjectFactory(void*, std::uint32_t classId, ulk::IObjectFactory** factory) {
    return platform::EnterModule(kClasses, classId, factory);
}

ULK_MODULE_EXPORT std::uint32_t ulkGetLiveObjectCount() { return ulk::ObjectModuleAutoLockTyped::LiveObjects(); }
