// SPDX-License-Identifier: GPL-2.0-or-later
// A service in the test's own process: the interfaces that the window calls, answered from plain data.
#pragma once

#include <contract/tfs/app_info.h>
#include <contract/tfs/event.h>
#include <contract/tfs/settings.h>
#include <contract/tfs/tasks.h>
#include <foundation/object.h>
#include <foundation/trace.h>

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace tfs::gui::test {

using String = ulk::types::string16_t;

template <class... Interfaces>
using FakeBase = ulk::SimpleObjectBase<ulk::NoServiceStrategy, Interfaces...>;

/// Keeps every line.
class FakeTracer : public FakeBase<ulk::ITracer> {
public:
    bool IsEnabled(int) const noexcept override { return true; }
    ulk::TraceBuffer* GetBuffer(int level, std::size_t) noexcept override;
    void Submit(ulk::TraceBuffer* buffer) noexcept override;
    void Flush() noexcept override {}

    std::size_t Count(int level, const std::string& part) const;
    std::size_t Count(const std::string& part) const;
    /// Whole lines of one level, in order.
    std::vector<std::string> Lines(int level) const;
    void Clear();

private:
    mutable std::mutex m_mutex;
    std::vector<std::pair<int, std::string>> m_lines;
};

class FakeAllocator : public FakeBase<ulk::IAllocator> {
public:
    void* Alloc(std::size_t size) noexcept override;
    void* Realloc(void* memory, std::size_t size) noexcept override;
    void Free(void* memory) noexcept override;
};

/// Answers what has been put on it.
class FakeLocator : public FakeBase<ulk::IServiceLocator> {
public:
    template <class Interface>
    void Put(Interface* object) {
        object->AddRef();
        m_services[Interface::Iid] = {static_cast<ulk::IObject*>(object), static_cast<void*>(object)};
    }
    void Remove(ulk::iid_t iid);
    ~FakeLocator() override;
    result_t GetInterface(ulk::iid_t iid, std::uint32_t reserved, void** out) noexcept override;

private:
    struct Service {
        ulk::IObject* object;
        void* interfacePointer;
    };
    std::map<ulk::iid_t, Service> m_services;
};

class FakeTaskManager : public FakeBase<ITfsTaskManager> {
public:
    result_t GetTaskList(ulk::types::vector_t<core::TaskInfo>& tasks) override;
    result_t GetStatistics(ulk::types::vector_t<OxsStatistic>& statistics) override;
    result_t GetStatistic(const String& taskName, OxsStatistic& statistics) override;
    result_t GetOdsStatistics(ScanStatistic& statistic) override;
    result_t StartTask(const String& idOrName) override { return Note("start", idOrName); }
    result_t StopTask(const String& idOrName) override { return Note("stop", idOrName); }
    result_t PauseTask(const String& idOrName) override { return Note("pause", idOrName); }
    result_t ResumeTask(const String& idOrName) override { return Note("resume", idOrName); }
    result_t DeleteTask(const String& taskName) override;
    result_t DeleteStatistic(const OxsStatistic& statistics) override;
    result_t GetSchedule(const String& taskName, TaskSchedule& schedule) override;
    result_t GetTaskInfo(const String& idOrName, core::TaskInfo& task) override;
    result_t CreateScanTask(const ScanSettings&, core::TaskInfo&) override { return ulk::eNotSupported; }
    result_t GetProgress(const String&, TaskProgress&) override { return ulk::eNotSupported; }
    result_t GetTaskSettings(const String&, settings::SettingsChangeList&) override { return ulk::eNotSupported; }
    result_t SetTaskSettings(const String&, const settings::SettingsChangeList&, bool,
                             std::vector<settings::ValidationMessage>&) override {
        return ulk::eNotSupported;
    }
    result_t SetSchedule(const String&, const settings::SettingsChangeList&, bool,
                         std::vector<settings::ValidationMessage>&) override {
        return ulk::eNotSupported;
    }

    void SetTask(const core::TaskInfo& task);
    void RemoveTask(std::uint64_t id);
    void SetStatistic(const OxsStatistic& statistic);
    void RemoveStatistic(const String& taskName);
    std::vector<std::string> Commands() const;

    /// What every call answers, without doing anything, while it is a failure.
    std::atomic<result_t> failure{ulk::sOk};

private:
    result_t Note(const char* command, const String& argument);

    mutable std::mutex m_mutex;
    std::map<std::uint64_t, core::TaskInfo> m_tasks;
    std::map<String, OxsStatistic> m_statistics;
    std::vector<std::string> m_commands;
};

class FakePolicyProvider : public FakeBase<IPolicyProvider> {
public:
    result_t CanBeStarted(const String& taskName, bool& allowed) override;
    result_t IsUserManageTasksAllowed(bool& localTasks, bool& groupTasks) override;
    result_t CanBeStopped(const String& taskName, bool& allowed) override;

    std::atomic<result_t> failure{ulk::sOk};
    std::atomic<bool> local{true};
    std::atomic<bool> group{false};
    std::atomic<bool> startMonitoring{true};
    std::atomic<bool> stopMonitoring{false};
};

class FakeAppInfoProvider : public FakeBase<IAppInfoProvider> {
public:
    result_t GetAppInfo(AppInfo& out) override;
    AppInfo appInfo;
    result_t failure = ulk::sOk;
};

class FakePolicyManager : public FakeBase<IPolicyManager> {
public:
    result_t GetPolicy(PolicyState&) override { return result; }
    result_t result = ulk::sFalse;
};

class FakeSettingsHandler : public FakeBase<IAppSettingsHandler> {
public:
    result_t GetAppSettings(ulk::types::any_struct_t& holder) override;
    result_t SetAppSettings(const settings::SettingsChangeList& changes,
                            ulk::types::vector_t<settings::ValidationMessage>& messages, bool acceptTsn) override;
    std::atomic<bool> privilegedOnly{false};
    std::atomic<bool> empty{false};
    std::atomic<types::TsnUsage::Type> useTsn{types::TsnUsage::Off};
    std::atomic<result_t> failure{ulk::sOk};
    std::atomic<result_t> setResult{ulk::sOk};
    /// As "<type number>: <key>=<value>...", with " accepted" behind it where the statement was; in order.
    std::vector<std::string> Changes() const;

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_changes;
};

class FakeEventSubscriber : public FakeBase<IEventSubscriber> {
public:
    result_t Subscribe(IRemoteEventsReceiver* receiver, const EventFilter& filter) override;
    result_t Unsubscribe(IRemoteEventsReceiver* receiver) override;

    /// Pushes an event to the receiver as the transport would. False where nobody subscribed.
    bool Push(const Event& event);
    EventFilter Filter() const;
    std::string ReceiverName() const;
    bool IsSubscribed() const;
    result_t subscribeResult = ulk::sOk;
    /// A failure leaves the subscription alive.
    result_t unsubscribeResult = ulk::sOk;
    /// Pushed before Subscribe returns.
    std::vector<Event> pushedAtOnce;

private:
    mutable std::mutex m_mutex;
    ulk::Ptr<IRemoteEventsReceiver> m_receiver;
    EventFilter m_filter;
};

/// A full scan as the service lists it.
core::TaskInfo MakeTask(std::uint64_t id, const char16_t* name, const char16_t* type,
                        types::TaskState::Type state = types::TaskState::Stopped);
OxsStatistic MakeStatistic(const core::TaskInfo& task, std::uint64_t scanned, std::uint64_t threats);

} // namespace tfs::gui::test
