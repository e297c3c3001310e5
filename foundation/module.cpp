// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/module.h>

#include <dlfcn.h>
#include <utility>

namespace ulk {
namespace {

bool HasLiveObjects(void* handle) noexcept {
    const auto count = reinterpret_cast<GetLiveObjectCountFunction>(::dlsym(handle, kLiveObjectsExport));
    return count != nullptr && count() != 0;
}

} // namespace

namespace detail {

std::string LinkerErrorText(const char* text) { return text != nullptr ? text : "dlerror returned nullptr"; }

} // namespace detail

std::string ModulePath(const types::string16_t& folder, std::string_view name) {
    if (name.rfind('/') != std::string_view::npos)
        return std::string(name);
    std::string path = text::Cast<std::string>(folder);
    if (!path.empty() && path.back() != '/')
        path += '/';
    path.append("lib").append(name).append(".so");
    return path;
}

Module::Module(Module&& other) noexcept
    : m_handle(std::exchange(other.m_handle, nullptr)), m_errorText(std::move(other.m_errorText)) {}

Module& Module::operator=(Module&& other) noexcept {
    if (this != &other) {
        Close();
        m_handle = std::exchange(other.m_handle, nullptr);
        m_errorText = std::move(other.m_errorText);
    }
    return *this;
}

Module::~Module() { Close(); }

result_t Module::Load(const std::string& path) {
    Close();
    m_errorText.clear();
    // An embedded zero would make the linker open another file than the one that was named.
    if (path.empty() || path.find('\0') != std::string::npos) {
        m_errorText = "Invalid module path";
        return eInvalidArgument;
    }
    m_handle = ::dlopen(path.c_str(), RTLD_NOW);
    if (m_handle != nullptr)
        return sOk;
    m_errorText = detail::LinkerErrorText(::dlerror());
    return eModuleNotFound;
}

result_t Module::Find(const char* symbol, void** out) {
    *out = nullptr;
    m_errorText.clear();
    if (m_handle == nullptr) {
        m_errorText = "Module is not loaded";
        return eNotInitialized;
    }
    ::dlerror(); // what is left of an earlier failure isn't ours
    *out = ::dlsym(m_handle, symbol);
    if (*out != nullptr)
        return sOk;
    m_errorText = detail::LinkerErrorText(::dlerror());
    return eSymbolNotFound;
}

result_t Module::CreateObject(std::uint32_t classId, IServiceLocator* locator, iid_t iid, void** out) {
    *out = nullptr;
    void* entry = nullptr;
    if (const result_t result = Find(kObjectFactoryExport, &entry); !ULK_SUCCEEDED(result))
        return result;
    const auto getFactory = reinterpret_cast<GetObjectFactoryFunction>(entry);
    Ptr<IObjectFactory> factory;
    if (const result_t result = getFactory(nullptr, classId, factory.Ref()); !ULK_SUCCEEDED(result))
        return result;
    if (!factory)
        return eUnexpected;
    return factory->CreateInstance(locator, iid, out);
}

void Module::Close() noexcept {
    void* const handle = std::exchange(m_handle, nullptr);
    if (handle != nullptr && !HasLiveObjects(handle))
        ::dlclose(handle);
}

} // namespace ulk
