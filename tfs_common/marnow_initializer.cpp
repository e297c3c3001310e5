// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/result.h>
#include <tfs_common/marnow_initializer.h>

#include <cerrno>
#include <cstdlib>
#include <iostream>

namespace tfs {
namespace {

/// Reports a step that failed; yields its code.
result_t Reported(result_t result, const char* text) {
    if (ULK_FAILED(result))
        std::cerr << text << std::flush;
    return result;
}

template <class Function>
result_t Find(ulk::Module& module, const char* name, Function& function) {
    void* symbol = nullptr;
    const result_t result = module.Find(name, &symbol);
    function = reinterpret_cast<Function>(symbol);
    return result;
}

} // namespace

MarnowInitializer::~MarnowInitializer() {
    m_root.Reset();
    m_provider.Reset();
    if (m_shutdown != nullptr)
        m_shutdown();
}

result_t MarnowInitializer::Init(app_core::loader::IApplicationInfrastructureLoader*, ulk::IServiceLocator* sl,
                                 const ulk::types::string16_t& libDirectory) {
    if (m_shutdown != nullptr)
        return ulk::eInvalidState;
    std::string folder = ulk::text::Cast<std::string>(libDirectory);
    if (!folder.ends_with('/'))
        folder += '/';
    if (const result_t result = LoadLibraries(folder); ULK_FAILED(result))
        return result;
    if (::setenv(marnow::kPluginsPathVariable, folder.c_str(), 1) != 0)
        return ulk::ResultFromErrno(errno);
    if (const result_t result = Reported(Start(sl), "Failed to initialize marnow\n"); ULK_FAILED(result))
        return result;

    marnow::GetRootProviderFunction getRootProvider = nullptr;
    result_t result = Find(m_loaderModule, marnow::kGetRootProviderExport, getRootProvider);
    if (ULK_SUCCEEDED(result))
        result = getRootProvider(m_provider.Ref());
    if (ULK_FAILED(Reported(result, "Failed to get groot provider\n")))
        return result;
    return Reported(m_provider->GetRoot(m_root.Ref()), "Failed to get groot\n");
}

result_t MarnowInitializer::LoadLibraries(const std::string& folder) {
    if (const result_t result = m_loaderModule.Load(folder + "loader.so"); ULK_FAILED(result)) {
        std::cerr << m_loaderModule.ErrorText() << std::endl;
        return result;
    }
    if (const result_t result = m_paramsModule.Load(folder + "libparams.so"); ULK_FAILED(result)) {
        std::cerr << m_paramsModule.ErrorText() << std::endl;
        return result;
    }
    return ulk::sOk;
}

result_t MarnowInitializer::Start(ulk::IServiceLocator* sl) {
    marnow::GetStartParametersFunction getParameters = nullptr;
    marnow::InitializeFunction initialize = nullptr;
    marnow::ShutdownFunction shutdown = nullptr;
    if (const result_t result = Find(m_paramsModule, marnow::kGetStartParametersExport, getParameters);
        ULK_FAILED(result))
        return result;
    if (const result_t result = Find(m_loaderModule, marnow::kInitializeExport, initialize); ULK_FAILED(result))
        return result;
    if (const result_t result = Find(m_loaderModule, marnow::kShutdownExport, shutdown); ULK_FAILED(result))
        return result;
    marnow::StartParameters parameters;
    if (const result_t result = getParameters(&parameters); ULK_FAILED(result))
        return result;
    if (const result_t result = initialize(&parameters, sl); ULK_FAILED(result))
        return result;
    m_shutdown = shutdown;
    return ulk::sOk;
}

} // namespace tfs
