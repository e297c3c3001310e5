// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/result.h>
#include <platform/app_core_legacy/module_store.h>

namespace platform::app_core_legacy {

ModuleStore::~ModuleStore() {
    for (auto& [path, module] : m_modules)
        module->KeepLoaded();
}

result_t ModuleStore::CreateObject(const std::string& path, std::uint32_t classId, ulk::IServiceLocator* locator,
                                   ulk::iid_t iid, void** out, std::string& error) {
    *out = nullptr;
    ulk::Module* module = nullptr;
    if (const result_t result = Load(path, &module, error); ULK_FAILED(result))
        return result;
    void* entry = nullptr;
    {
        const ulk::LockGuard lock(m_mutex);
        if (const result_t result = module->Find(ulk::kObjectFactoryExport, &entry); ULK_FAILED(result)) {
            error = module->ErrorText();
            return result;
        }
    }
    // The module may look services up on the locator from here, on this thread or on others: no lock is held.
    ulk::Ptr<ulk::IObjectFactory> factory;
    const auto getFactory = reinterpret_cast<ulk::GetObjectFactoryFunction>(entry);
    if (const result_t result = getFactory(nullptr, classId, factory.Ref()); ULK_FAILED(result))
        return result;
    return factory ? factory->CreateInstance(locator, iid, out) : ulk::eUnexpected;
}

result_t ModuleStore::Load(const std::string& path, ulk::Module** module, std::string& error) {
    const ulk::LockGuard lock(m_mutex);
    for (auto& [loadedPath, loaded] : m_modules) {
        if (loadedPath == path) {
            *module = loaded.get();
            return ulk::sOk;
        }
    }
    auto loading = std::make_unique<ulk::Module>();
    if (const result_t result = loading->Load(path); ULK_FAILED(result)) {
        error = loading->ErrorText();
        return result;
    }
    *module = loading.get();
    m_modules.emplace_back(path, std::move(loading));
    return ulk::sOk;
}

} // namespace platform::app_core_legacy
