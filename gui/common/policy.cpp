// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/app_info.h>
#include <gui/common/exception_text.h>
#include <gui/common/policy.h>
#include <gui/common/remote_interface.h>

namespace tfs::gui::policy {

bool IsUnderPolicy() noexcept {
    ULK_TRACE(application::GetTracer(), ulk::level::Detail) << __PRETTY_FUNCTION__ << ": enter";
    bool isUnderPolicy = false;
    try {
        const auto manager = GUI_GET_REMOTE_INTERFACE(IPolicyManager);
        PolicyState state;
        isUnderPolicy = manager->GetPolicy(state) == ulk::sOk;
    }
    GUI_CATCH_ALL
    ULK_TRACE(application::GetTracer(), ulk::level::Detail) << __PRETTY_FUNCTION__ << ": exit";
    return isUnderPolicy;
}

bool IsTSNUnderPolicy() noexcept {
    ULK_TRACE(application::GetTracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    return IsUnderPolicy();
}

result_t IsUserManageTasksAllowed(bool& localTasks, bool& groupTasks) {
    ulk::Ptr<IPolicyProvider> policyProvider;
    const ulk::Ptr<ulk::IServiceLocator> remote = application::AcquireRemoteServiceLocator();
    if (!ULK_SUCCEEDED(ulk::GetInterface(remote.Get(), policyProvider.Ref())) || !policyProvider)
        return ulk::eUnspecified;
    return policyProvider->IsUserManageTasksAllowed(localTasks, groupTasks);
}

} // namespace tfs::gui::policy
