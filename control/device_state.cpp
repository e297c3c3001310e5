// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/backup.h>
#include <control/device_state.h>
#include <foundation/datetime.h>
#include <tfs_common/overview/overview.h>

namespace tfs::control {
namespace {

core::TaskInfo ReadTask(ITfsTaskManager& tasks, const char16_t* taskName) {
    core::TaskInfo task;
    const result_t result = tasks.GetTaskInfo(taskName, task);
    if (result == ulk::eNotFound) {
        task = core::TaskInfo();
        task.state = types::TaskState::Unknown;
        return task;
    }
    ThrowIfFailed(result, "Cannot get the state of a task");
    return task;
}

void ReadTasks(const CommandContext& context, overview::DeviceState& device) {
    const auto tasks = Service<ITfsTaskManager>(context);
    device.fileMonitoring = ReadTask(*tasks, task_name::FileMonitoring);
    device.fullScan = ReadTask(*tasks, task_name::FullScan);
    device.update = ReadTask(*tasks, task_name::Update);
    OxsStatistic statistic;
    if (ULK_SUCCEEDED(tasks->GetStatistic(task_name::FullScan, statistic)))
        device.lastFullScan = statistic;
}

/// A read that fails leaves the user's rights as they are without a policy.
void ReadRights(const CommandContext& context, overview::DeviceState& device) {
    ulk::Ptr<IPolicyManager> manager;
    PolicyState policy;
    if (ULK_SUCCEEDED(ulk::GetInterface(context.remote, manager.Ref())))
        device.isUnderPolicy = manager->GetPolicy(policy) == ulk::sOk;
    ulk::Ptr<IPolicyProvider> provider;
    if (!ULK_SUCCEEDED(ulk::GetInterface(context.remote, provider.Ref())))
        return;
    bool localTasks = true;
    bool groupTasks = true;
    if (ULK_SUCCEEDED(provider->IsUserManageTasksAllowed(localTasks, groupTasks)))
        device.allowUserManageLocalTasks = localTasks;
    bool canBeStarted = false;
    device.canStartFileMonitoring =
        ULK_SUCCEEDED(provider->CanBeStarted(task_name::FileMonitoring, canBeStarted)) && canBeStarted;
}

void ReadStorage(const CommandContext& context, overview::DeviceState& device) {
    ulk::Ptr<ITfsBackupConfigurator> configurator;
    ulk::Ptr<ITfstBackupManager> manager;
    if (!ULK_SUCCEEDED(ulk::GetInterface(context.remote, configurator.Ref())) ||
        !ULK_SUCCEEDED(ulk::GetInterface(context.remote, manager.Ref())))
        return;
    settings::BackupSettings settings;
    BackupItems items;
    if (ULK_SUCCEEDED(configurator->GetSettings(settings)) && ULK_SUCCEEDED(manager->Query({}, items)))
        device.storageFill = overview::StorageFillPercentage(items, settings);
}

} // namespace

overview::DeviceState ReadDeviceState(const CommandContext& context) {
    overview::DeviceState device;
    ThrowIfFailed(Service<IAppInfoProvider>(context)->GetAppInfo(device.appInfo),
                  "Cannot get the application information");
    ReadTasks(context, device);
    ReadRights(context, device);
    ReadStorage(context, device);
    device.nowTicks = ulk::datetime::NowTicks();
    return device;
}

} // namespace tfs::control
