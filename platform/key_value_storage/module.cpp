// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/common/module_entry.h>
#include <platform/key_value_storage/key_value_storage.h>

namespace {

using platform::storage::KeyValueStorage;

constexpr platform::ModuleClass kClasses[] = {
    platform::ClassOf<KeyValueStorage<app_core::IKeyValueStorage>>(app_core::KeyValueStorageClass),
    platform::ClassOf<KeyValueStorage<app_core::ISettingsStorage>>(app_core::SettingsStorageClass),
    platform::ClassOf<KeyValueStorage<app_core::IDataStorage>>(app_core::DataStorageClass),
};

} // namespace

ULK_MODULE_EXPORT result_t ulkGetObjectFactory(void*, std::uint32_t classId, ulk::IObjectFactory** factory) {
    return platform::EnterModule(kClasses, classId, factory);
}

ULK_MODULE_EXPORT std::uint32_t ulkGetLiveObjectCount() { return ulk::ObjectModuleAutoLockTyped::LiveObjects(); }
