// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/result.h>
#include <platform/loader/framework.h>

#include <sys/stat.h>

namespace platform::loader {
namespace {

class RootProvider final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, marnow::IRootProvider> {
public:
    result_t GetRoot(ulk::IServiceLocator** root) noexcept override { return ProcessFramework().GetRoot(root); }

private:
    ~RootProvider() override = default;
};

bool IsFolder(const char* path) {
    struct stat status {};
    return ::stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

result_t Root::GetInterface(ulk::iid_t iid, std::uint32_t reserved, void** out) noexcept {
    if (out == nullptr)
        return ulk::eInvalidArgument;
    *out = nullptr;
    ulk::Ptr<ulk::IServiceLocator> locator;
    {
        const ulk::LockGuard lock(m_mutex);
        locator = m_locator;
    }
    return locator ? locator->GetInterface(iid, reserved, out) : ulk::eNotInitialized;
}

void Root::Detach() noexcept {
    // The last release may destroy services: not under the lock.
    ulk::Ptr<ulk::IServiceLocator> locator;
    {
        const ulk::LockGuard lock(m_mutex);
        std::swap(locator, m_locator);
    }
}

result_t Framework::Initialize(const marnow::StartParameters* parameters, ulk::IServiceLocator* locator) {
    if (parameters == nullptr || parameters->size != sizeof(marnow::StartParameters) || locator == nullptr)
        return ulk::eInvalidArgument;
    if (!IsFolder(parameters->libraryFolder))
        return ulk::eFileNotFound;
    const ulk::LockGuard lock(m_mutex);
    if (m_root)
        return ulk::eInvalidState;
    m_root = ulk::Ptr<Root>::Adopt(new Root(locator));
    return ulk::sOk;
}

result_t Framework::GetRootProvider(marnow::IRootProvider** provider) {
    if (provider == nullptr)
        return ulk::eInvalidArgument;
    *provider = nullptr;
    const ulk::LockGuard lock(m_mutex);
    if (!m_root)
        return ulk::eNotInitialized;
    *provider = new RootProvider();
    return ulk::sOk;
}

result_t Framework::GetRoot(ulk::IServiceLocator** root) {
    if (root == nullptr)
        return ulk::eInvalidArgument;
    *root = nullptr;
    const ulk::LockGuard lock(m_mutex);
    if (!m_root)
        return ulk::eNotInitialized;
    *root = ulk::Ptr<Root>(m_root).Detach();
    return ulk::sOk;
}

result_t Framework::Shutdown() {
    ulk::Ptr<Root> root;
    {
        const ulk::LockGuard lock(m_mutex);
        std::swap(root, m_root);
    }
    if (!root)
        return ulk::eNotInitialized;
    root->Detach();
    return ulk::sOk;
}

Framework& ProcessFramework() {
    static Framework framework;
    return framework;
}

} // namespace platform::loader
