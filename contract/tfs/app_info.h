// SPDX-License-Identifier: GPL-2.0-or-later
// What the service says about itself, and the policy that binds its users.
#pragma once

#include <contract/tfs/variant.h>
#include <foundation/object.h>

#include <cstdint>
#include <string>

namespace tfs {

enum class ApplicationUpdateState : std::uint32_t {
    Unknown = 0,
    NoUpdatesAvailable = 1,
    UpdateDownloaded = 2,
    UpdateInstalled = 3,
    UpdateFailed = 4,
    ModuleUpdateInstalled = 5,
    PatchFilesCorrupted = 6,
};

/// A new record starts with everything zero.
struct AppInfo {
    bool avBasesLoaded = false;
    std::int64_t avBasesDate = 0;        ///< 100 ns ticks since 1601-01-01 UTC
    std::int64_t lastUpdateTime = 0;     ///< the same unit; 0 when unknown
    std::int64_t lastMyCompScanTime = 0; ///< seconds since the Unix epoch; 0 when never run
    ApplicationUpdateState applicationUpdateState = ApplicationUpdateState::Unknown;
    bool isOASEnabled = false;
    bool canRunProtection = false;
    bool isRollbackAvailable = false;
    std::uint64_t avRecordsCount = 0;
    ulk::types::string16_t applicationVersion;
    ulk::types::string16_t engineVersion;
    std::uint32_t scannerWorkers = 0; ///< live scanner workers
    /// Of the update that applicationUpdateState tells of; empty where there is none, or it isn't known.
    ulk::types::string16_t applicationUpdateVersion;
    ulk::types::string16_t systemName; ///< of the machine's operating system
    ulk::types::string16_t systemVersion;
};

class IAppInfoProvider : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x679B17DCu;
    virtual result_t GetAppInfo(AppInfo& appInfo) = 0;

protected:
    ~IAppInfoProvider() = default;
};

/// Reads by task name; what may this user do.
class IPolicyProvider : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x64E90A4Eu;
    virtual result_t CanBeStarted(const ulk::types::string16_t& taskName, bool& allowed) = 0;
    /// Local tasks, then tasks of the central console.
    virtual result_t IsUserManageTasksAllowed(bool& localTasks, bool& groupTasks) = 0;
    virtual result_t CanBeStopped(const ulk::types::string16_t& taskName, bool& allowed) = 0;

protected:
    ~IPolicyProvider() = default;
};

struct PolicyState {
    ulk::types::string16_t name;
};

class IPolicyManager : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x6E7BAC6Cu;
    /// Returns exactly sOk when a central policy is in force, sFalse when none is.
    virtual result_t GetPolicy(PolicyState& state) = 0;

protected:
    ~IPolicyManager() = default;
};

} // namespace tfs
