// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/exceptions.h>
#include <gui/common/application.h>

#include <atomic>

namespace tfs::gui {
namespace {

constexpr std::int32_t NoConnectionCode = 256;
std::atomic<IApplication*> currentApplication{nullptr};

IApplication* Current() noexcept { return currentApplication.load(std::memory_order_acquire); }

} // namespace

namespace application {

void Set(IApplication* instance) noexcept { currentApplication.store(instance, std::memory_order_release); }

ulk::ITracer* GetTracer() noexcept {
    const IApplication* const instance = Current();
    return instance ? instance->Tracer() : nullptr;
}

ulk::IServiceLocator* GetLocalServiceLocator() noexcept {
    const IApplication* const instance = Current();
    return instance ? instance->LocalServiceLocator() : nullptr;
}

ulk::Ptr<ulk::IServiceLocator> AcquireRemoteServiceLocator() {
    IApplication* const instance = Current();
    if (instance == nullptr)
        ThrowNoConnection();
    return instance->GetRemoteServiceLocator();
}

} // namespace application

void ThrowNoConnection() {
    ulk::RuntimeError error(__FILE__, __LINE__, NoConnectionCode);
    error.SetMessage(u"No connection to product");
    throw error;
}

} // namespace tfs::gui
