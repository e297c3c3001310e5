// SPDX-License-Identifier: GPL-2.0-or-later
#include "fake_services.h"

#include <algorithm>
#include <cstdlib>

namespace tfs::gui::test {

ulk::TraceBuffer* FakeTracer::GetBuffer(int level, std::size_t size) noexcept {
    auto* const buffer = new ulk::TraceBuffer;
    buffer->level = level;
    buffer->text.reserve(size);
    return buffer;
}

void FakeTracer::Submit(ulk::TraceBuffer* buffer) noexcept {
    const std::lock_guard lock(m_mutex);
    m_lines.emplace_back(buffer->level, std::move(buffer->text));
    delete buffer;
}

std::size_t FakeTracer::Count(int level, const std::string& part) const {
    const std::lock_guard lock(m_mutex);
    return static_cast<std::size_t>(std::count_if(m_lines.begin(), m_lines.end(), [&](const auto& line) {
        return line.first == level && line.second.find(part) != std::string::npos;
    }));
}

std::size_t FakeTracer::Count(const std::string& part) const {
    const std::lock_guard lock(m_mutex);
    return static_cast<std::size_t>(std::count_if(
        m_lines.begin(), m_lines.end(), [&](const auto& line) { return line.second.find(part) != std::string::npos; }));
}

std::vector<std::string> FakeTracer::Lines(int level) const {
    const std::lock_guard lock(m_mutex);
    std::vector<std::string> lines;
    for (const auto& [lineLevel, text] : m_lines) {
        if (lineLevel == level)
            lines.push_back(text);
    }
    return lines;
}

void FakeTracer::Clear() {
    const std::lock_guard lock(m_mutex);
    m_lines.clear();
}

void* FakeAllocator::Alloc(std::size_t size) noexcept { return std::malloc(size); }
void* FakeAllocator::Realloc(void* memory, std::size_t size) noexcept { return std::realloc(memory, size); }
void FakeAllocator::Free(void* memory) noexcept { std::free(memory); }

void FakeLocator::Remove(ulk::iid_t iid) {
    const auto found = m_services.find(iid);
    if (found == m_services.end())
        return;
    found->second.object->Release();
    m_services.erase(found);
}

FakeLocator::~FakeLocator() {
    for (const auto& [iid, service] : m_services)
        service.object->Release();
}

result_t FakeLocator::GetInterface(ulk::iid_t iid, std::uint32_t, void** out) noexcept {
    const auto found = m_services.find(iid);
    *out = nullptr;
    if (found == m_services.end())
        return ulk::eNoInterface;
    found->second.object->AddRef();
    *out = found->second.interfacePointer;
    return ulk::sOk;
}

result_t FakeTaskManager::GetTaskList(ulk::types::vector_t<core::TaskInfo>& tasks) {
    if (!ULK_SUCCEEDED(failure.load()))
        return failure;
    const std::lock_guard lock(m_mutex);
    for (const auto& [id, task] : m_tasks)
        tasks.push_back(task);
    return ulk::sOk;
}

result_t FakeTaskManager::GetStatistics(ulk::types::vector_t<OxsStatistic>& statistics) {
    if (!ULK_SUCCEEDED(failure.load()))
        return failure;
    const std::lock_guard lock(m_mutex);
    for (const auto& [name, statistic] : m_statistics)
        statistics.push_back(statistic);
    return ulk::sOk;
}

result_t FakeTaskManager::GetStatistic(const String& taskName, OxsStatistic& statistics) {
    if (!ULK_SUCCEEDED(failure.load()))
        return failure;
    const std::lock_guard lock(m_mutex);
    const auto found = m_statistics.find(taskName);
    if (found == m_statistics.end())
        return ulk::eNotFound;
    statistics = found->second;
    return ulk::sOk;
}

result_t FakeTaskManager::GetOdsStatistics(ScanStatistic& statistic) {
    if (!ULK_SUCCEEDED(failure.load()))
        return failure;
    const std::lock_guard lock(m_mutex);
    for (const auto& [name, record] : m_statistics)
        statistic.scannedObjects += record.scan.scannedObjects;
    return ulk::sOk;
}

result_t FakeTaskManager::DeleteTask(const String& taskName) {
    const result_t result = Note("delete", taskName);
    const std::lock_guard lock(m_mutex);
    if (ULK_SUCCEEDED(result))
        std::erase_if(m_tasks, [&](const auto& entry) { return entry.second.taskName == taskName; });
    return result;
}

result_t FakeTaskManager::DeleteStatistic(const OxsStatistic& statistics) {
    const result_t result = Note("delete statistics", statistics.taskName);
    if (ULK_SUCCEEDED(result))
        RemoveStatistic(statistics.taskName);
    return result;
}

result_t FakeTaskManager::GetSchedule(const String& taskName, TaskSchedule& schedule) {
    if (!ULK_SUCCEEDED(failure.load()))
        return failure;
    if (taskName == u"Unscheduled")
        return ulk::eNotFound;
    schedule.mode = 1;
    schedule.text = u"daily";
    return ulk::sOk;
}

result_t FakeTaskManager::GetTaskInfo(const String& idOrName, core::TaskInfo& task) {
    if (!ULK_SUCCEEDED(failure.load()))
        return failure;
    const std::lock_guard lock(m_mutex);
    for (const auto& [id, candidate] : m_tasks) {
        if (candidate.taskName == idOrName) {
            task = candidate;
            return ulk::sOk;
        }
    }
    return ulk::eNotFound;
}

void FakeTaskManager::SetTask(const core::TaskInfo& task) {
    const std::lock_guard lock(m_mutex);
    m_tasks[task.taskId] = task;
}

void FakeTaskManager::RemoveTask(std::uint64_t id) {
    const std::lock_guard lock(m_mutex);
    m_tasks.erase(id);
}

void FakeTaskManager::SetStatistic(const OxsStatistic& statistic) {
    const std::lock_guard lock(m_mutex);
    m_statistics[statistic.taskName] = statistic;
}

void FakeTaskManager::RemoveStatistic(const String& taskName) {
    const std::lock_guard lock(m_mutex);
    m_statistics.erase(taskName);
}

std::vector<std::string> FakeTaskManager::Commands() const {
    const std::lock_guard lock(m_mutex);
    return m_commands;
}

result_t FakeTaskManager::Note(const char* command, const String& argument) {
    if (!ULK_SUCCEEDED(failure.load()))
        return failure;
    const std::lock_guard lock(m_mutex);
    m_commands.push_back(std::string(command) + " " + ulk::text::ToUtf8Lossy(argument));
    return ulk::sOk;
}

result_t FakePolicyProvider::CanBeStarted(const String&, bool& allowed) {
    allowed = startMonitoring;
    return failure;
}

result_t FakePolicyProvider::IsUserManageTasksAllowed(bool& localTasks, bool& groupTasks) {
    localTasks = local;
    groupTasks = group;
    return failure;
}

result_t FakePolicyProvider::CanBeStopped(const String&, bool& allowed) {
    allowed = stopMonitoring;
    return failure;
}

result_t FakeAppInfoProvider::GetAppInfo(AppInfo& out) {
    if (ULK_SUCCEEDED(failure))
        out = appInfo;
    return failure;
}

result_t FakeSettingsHandler::GetAppSettings(ulk::types::any_struct_t& holder) {
    if (empty || !ULK_SUCCEEDED(failure.load()))
        return failure;
    settings::AppSettings settings;
    settings.uiReportsForRootOnly = privilegedOnly;
    settings.useTsn = useTsn;
    holder.Set(settings);
    return ulk::sOk;
}

result_t FakeSettingsHandler::SetAppSettings(const settings::SettingsChangeList& changes,
                                             ulk::types::vector_t<settings::ValidationMessage>&, bool acceptTsn) {
    std::string told = std::to_string(changes.typeNumber) + ":";
    for (const settings::ChangeItem& item : changes.items)
        told += " " + item.key + "=" + item.value;
    const std::lock_guard lock(m_mutex);
    m_changes.push_back(told + (acceptTsn ? " accepted" : ""));
    return setResult;
}

std::vector<std::string> FakeSettingsHandler::Changes() const {
    const std::lock_guard lock(m_mutex);
    return m_changes;
}

result_t FakeEventSubscriber::Subscribe(IRemoteEventsReceiver* receiver, const EventFilter& filter) {
    const std::lock_guard lock(m_mutex);
    if (!ULK_SUCCEEDED(subscribeResult))
        return subscribeResult;
    m_receiver = ulk::Ptr<IRemoteEventsReceiver>(receiver);
    m_filter = filter;
    for (const Event& event : pushedAtOnce)
        m_receiver->OnEvent(event);
    return ulk::sOk;
}

result_t FakeEventSubscriber::Unsubscribe(IRemoteEventsReceiver* receiver) {
    const std::lock_guard lock(m_mutex);
    if (ULK_SUCCEEDED(unsubscribeResult) && m_receiver.Get() == receiver)
        m_receiver.Reset();
    return unsubscribeResult;
}

bool FakeEventSubscriber::Push(const Event& event) {
    const std::lock_guard lock(m_mutex);
    return m_receiver && ULK_SUCCEEDED(m_receiver->OnEvent(event));
}

EventFilter FakeEventSubscriber::Filter() const {
    const std::lock_guard lock(m_mutex);
    return m_filter;
}

std::string FakeEventSubscriber::ReceiverName() const {
    const std::lock_guard lock(m_mutex);
    String name;
    if (m_receiver)
        (void)m_receiver->GetReceiverName(name);
    return ulk::text::ToUtf8Lossy(name);
}

bool FakeEventSubscriber::IsSubscribed() const {
    const std::lock_guard lock(m_mutex);
    return static_cast<bool>(m_receiver);
}

core::TaskInfo MakeTask(std::uint64_t id, const char16_t* name, const char16_t* type, types::TaskState::Type state) {
    core::TaskInfo task;
    task.taskId = id;
    task.taskName = name;
    task.taskType = type;
    task.state = state;
    return task;
}

OxsStatistic MakeStatistic(const core::TaskInfo& task, std::uint64_t scanned, std::uint64_t threats) {
    OxsStatistic statistic;
    statistic.taskId = task.taskId;
    statistic.taskName = task.taskName;
    statistic.taskType = task.taskType;
    statistic.isTemporary = task.isTemporary;
    statistic.startTime = 1000;
    statistic.finishTime = 2000;
    statistic.scan.scannedObjects = scanned;
    statistic.scan.threatsFound = threats;
    return statistic;
}

} // namespace tfs::gui::test
