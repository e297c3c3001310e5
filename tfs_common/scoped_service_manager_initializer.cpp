// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/app_core/storage_service.h>
#include <contract/app_core/tracer_service.h>
#include <foundation/check.h>
#include <foundation/module.h>
#include <foundation/objclient.h>
#include <tfs_common/scoped_service_manager_initializer.h>

namespace tfs {
namespace {

ulk::Ptr<ulk::ITracer> TracerOf(ulk::IServiceLocator* sl) {
    ulk::Ptr<ulk::ITracer> tracer;
    (void)ulk::GetInterface(sl, tracer.Ref());
    return tracer;
}

std::string JoinPath(const ulk::types::string16_t& folder, const ulk::types::string16_t& name) {
    std::string path = ulk::text::Cast<std::string>(folder);
    if (!path.ends_with('/'))
        path += '/';
    return path + ulk::text::Cast<std::string>(name);
}

/// A service that is there already serves as well.
result_t Register(app_core::loader::IApplicationInfrastructureLoader* loader, ulk::iid_t iid,
                  const std::string& modulePath, std::uint32_t classId) {
    const result_t result = loader->RegisterService(iid, modulePath, classId);
    return result == ulk::eAlreadyExists ? ulk::sOk : result;
}

} // namespace

ScopedServiceManagerInitializer::ScopedServiceManagerInitializer()
    : m_marnowInitializer(std::make_unique<MarnowInitializer>()) {}

ScopedServiceManagerInitializer::~ScopedServiceManagerInitializer() {
    for (auto action = m_cleanUp.rbegin(); action != m_cleanUp.rend(); ++action)
        (*action)();
    m_cleanUp.clear();
}

result_t ScopedServiceManagerInitializer::Init(
    ulk::IServiceLocator* sl, app_core::loader::IApplicationInfrastructureLoader* loader, bool /*serviceProcess*/,
    const ulk::types::string16_t& settingsName, const ulk::types::string16_t& storageName,
    const ulk::types::string16_t& /*eventStoreName*/, const ulk::types::string16_t& libDirectory,
    const ulk::types::string16_t& storageFolder, const ulk::types::string16_t& /*basesDirectory*/,
    const ulk::types::string16_t& /*cacheDirectory*/, bool saveSettings, bool saveData) {
    if (sl == nullptr || loader == nullptr || storageFolder.empty())
        return ulk::eInvalidArgument;
    const auto tracer = TracerOf(sl);
    if (const result_t result = ULK_CHECK_TRACE(tracer.Get(), m_marnowInitializer->Init(loader, sl, libDirectory),
                                                "Cannot initialize marnow");
        ULK_FAILED(result))
        return result;

    const std::string instrumentalServices = ulk::ModulePath(libDirectory, "instrumental_services");
    const std::string keyValueStorage = ulk::ModulePath(libDirectory, "key_value_storage");
    if (const result_t result = Register(loader, ulk::ITracer::Iid, instrumentalServices, app_core::TracerClass);
        ULK_FAILED(result))
        return result;
    if (const result_t result =
            StartStorage<app_core::ISettingsStorage>(sl, loader, keyValueStorage, app_core::SettingsStorageClass,
                                                     JoinPath(storageFolder, settingsName), saveSettings);
        ULK_FAILED(result))
        return result;
    return StartStorage<app_core::IDataStorage>(sl, loader, keyValueStorage, app_core::DataStorageClass,
                                                JoinPath(storageFolder, storageName), saveData);
}

template <class Storage>
result_t ScopedServiceManagerInitializer::StartStorage(ulk::IServiceLocator* sl,
                                                       app_core::loader::IApplicationInfrastructureLoader* loader,
                                                       const std::string& modulePath, std::uint32_t classId,
                                                       const std::string& path, bool save) {
    const auto tracer = TracerOf(sl);
    if (const result_t result = ULK_CHECK_TRACE(tracer.Get(), Register(loader, Storage::Iid, modulePath, classId),
                                                "Cannot register storage service");
        ULK_FAILED(result))
        return result;
    ulk::Ptr<Storage> storage;
    if (const result_t result =
            ULK_CHECK_TRACE(tracer.Get(), ulk::GetInterface(sl, storage.Ref()), "Cannot get storage service");
        ULK_FAILED(result))
        return result;
    result_t result = ULK_CHECK_TRACE(tracer.Get(), storage->Open(path), "Cannot open " + path);
    if (ULK_FAILED(result) && !save)
        result = storage->Open({});
    if (ULK_SUCCEEDED(result))
        m_cleanUp.emplace_back([storage] { storage->Close(); });
    return result;
}

} // namespace tfs
