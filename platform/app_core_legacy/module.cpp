// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/app_core/loader.h>
#include <platform/app_core_legacy/application_loader.h>
#include <platform/common/module_entry.h>

namespace {

constexpr platform::ModuleClass kClasses[] = {
    platform::ClassOf<platform::app_core_legacy::ApplicationLoader>(app_core::loader::ApplicationLoaderClass),
};

} // namespace

ULK_MODULE_EXPORT result_t ulkGetObjectFactory(void*, std::uint32_t classId, ulk::IObjectFactory** factory) {
    return platform::EnterModule(kClasses, classId, factory);
}

ULK_MODULE_EXPORT std::uint32_t ulkGetLiveObjectCount() { return ulk::ObjectModuleAutoLockTyped::LiveObjects(); }
