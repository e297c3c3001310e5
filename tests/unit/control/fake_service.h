// SPDX-License-Identifier: GPL-2.0-or-later
// A service in the test's own process: a locator with the interfaces that commands ask for.
#pragma once

#include <contract/tfs/app_info.h>
#include <contract/tfs/event_query.h>
#include <contract/tfs/tasks.h>
#include <foundation/object.h>
#include <tests/unit/control/fake_settings.h>

#include <functional>
#include <vector>

namespace tfs::control::test {

using ulk::types::string16_t;

class FakeTasks : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ITfsTaskManager> {
public:
    std::vector<core::TaskInfo> tasks;
    std::vector<OxsStatistic> statistics;
    ScanSettings created;
    std::vector<string16_t> commands;
    struct Change {
        string16_t what;
        settings::SettingsChangeList list;
        bool toDefault = false;
    };
    std::vector<Change> asked; ///< changes of settings and schedules
    std::vector<settings::ValidationMessage> messages;
    settings::SettingsChangeList taskSettings;
    TaskSchedule schedule;
    TaskProgress progress;
    int progressQuestions = 0;
    result_t progressResult = ulk::eNotSupported;
    result_t setResult = ulk::sOk;
    result_t startResult = ulk::sOk;
    result_t pauseResult = ulk::sOk;
    std::function<void()> onStart = [] {};
    std::function<void()> onStop = [] {};

    result_t GetTaskList(std::vector<core::TaskInfo>& out) override {
        out = tasks;
        return ulk::sOk;
    }
    result_t GetStatistics(std::vector<OxsStatistic>& out) override {
        out = statistics;
        return ulk::sOk;
    }
    result_t GetStatistic(const string16_t& taskName, OxsStatistic& out) override {
        for (const OxsStatistic& statistic : statistics) {
            if (statistic.taskName == taskName) {
                out = statistic;
                return ulk::sOk;
            }
        }
        return ulk::eNotFound;
    }
    result_t GetOdsStatistics(ScanStatistic&) override { return ulk::eNotSupported; }
    result_t StartTask(const string16_t& idOrName) override {
        commands.push_back(string16_t(u"start ") + idOrName);
        if (ULK_SUCCEEDED(startResult))
            onStart();
        return startResult;
    }
    result_t StopTask(const string16_t& idOrName) override {
        commands.push_back(string16_t(u"stop ") + idOrName);
        onStop();
        return ulk::sOk;
    }
    result_t PauseTask(const string16_t& idOrName) override {
        commands.push_back(string16_t(u"pause ") + idOrName);
        return pauseResult;
    }
    result_t ResumeTask(const string16_t& idOrName) override {
        commands.push_back(string16_t(u"resume ") + idOrName);
        return ulk::sOk;
    }
    result_t DeleteTask(const string16_t& taskName) override {
        commands.push_back(string16_t(u"delete ") + taskName);
        return ulk::sOk;
    }
    result_t DeleteStatistic(const OxsStatistic& statistic) override {
        return std::erase(statistics, statistic) > 0 ? ulk::sOk : ulk::eNotFound;
    }
    result_t GetSchedule(const string16_t&, TaskSchedule& out) override {
        out = schedule;
        return ulk::sOk;
    }
    result_t GetTaskInfo(const string16_t& idOrName, core::TaskInfo& out) override {
        for (const core::TaskInfo& task : tasks) {
            if (task.taskName == idOrName || ulk::text::ToUtf8Lossy(idOrName) == std::to_string(task.taskId)) {
                out = task;
                return ulk::sOk;
            }
        }
        return ulk::eNotFound;
    }
    result_t CreateScanTask(const ScanSettings& settings, core::TaskInfo& out) override {
        created = settings;
        out.taskId = FirstTemporaryTaskId;
        out.taskName = u"Scan_File_100";
        tasks.push_back(out);
        tasks.back().state = types::TaskState::Started;
        return ulk::sOk;
    }
    result_t GetProgress(const string16_t&, TaskProgress& out) override {
        ++progressQuestions;
        out = progress;
        return progressResult;
    }
    result_t GetTaskSettings(const string16_t& idOrName, settings::SettingsChangeList& out) override {
        core::TaskInfo task;
        out = taskSettings;
        return GetTaskInfo(idOrName, task);
    }
    result_t SetTaskSettings(const string16_t&, const settings::SettingsChangeList& changes, bool toDefault,
                             std::vector<settings::ValidationMessage>& told) override {
        asked.push_back({u"settings", changes, toDefault});
        told = messages;
        return setResult;
    }
    result_t SetSchedule(const string16_t&, const settings::SettingsChangeList& changes, bool toDefault,
                         std::vector<settings::ValidationMessage>& told) override {
        asked.push_back({u"schedule", changes, toDefault});
        told = messages;
        return setResult;
    }
};

class FakeAppInfo : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, IAppInfoProvider> {
public:
    AppInfo appInfo;
    result_t result = ulk::sOk;
    result_t GetAppInfo(AppInfo& out) override {
        out = appInfo;
        return result;
    }
};

class FakeSubscriber : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, IEventSubscriber> {
public:
    ulk::Ptr<IRemoteEventsReceiver> receiver;
    EventFilter filter;

    result_t Subscribe(IRemoteEventsReceiver* newReceiver, const EventFilter& newFilter) override {
        receiver = ulk::Ptr<IRemoteEventsReceiver>(newReceiver);
        filter = newFilter;
        return ulk::sOk;
    }
    result_t Unsubscribe(IRemoteEventsReceiver*) override {
        receiver.Reset();
        return ulk::sOk;
    }
    /// Like the service: what the filter doesn't take isn't delivered.
    void Publish(const Event& event) {
        if (receiver && filter.Passes(event))
            receiver->OnEvent(event);
    }
};

class FakeStorer : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, IEventStorer> {
public:
    std::vector<Event> events;
    result_t result = ulk::sOk;
    EventQuery query;
    int queries = 0;

    result_t GetEventCount(std::uint64_t&) override { return ulk::eNotSupported; }
    result_t GetOldestEvent(Event&) override { return ulk::eNotSupported; }
    result_t GetEvent(Event::IdType, Event&) override { return ulk::eNotSupported; }
    result_t QueryEvents(const EventQuery& asked, std::vector<Event>& out) override {
        query = asked;
        ++queries;
        if (ULK_SUCCEEDED(result))
            out = events;
        return result;
    }
};

class FakeLocator : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ulk::IServiceLocator> {
public:
    ulk::Ptr<FakeTasks> tasks = ulk::Ptr<FakeTasks>::Adopt(new FakeTasks);
    ulk::Ptr<FakeSubscriber> subscriber = ulk::Ptr<FakeSubscriber>::Adopt(new FakeSubscriber);
    ulk::Ptr<FakeSettings> settings = ulk::Ptr<FakeSettings>::Adopt(new FakeSettings);
    ulk::Ptr<FakeAppInfo> appInfo; ///< not offered unless a test makes it
    ulk::Ptr<FakeStorer> storer = ulk::Ptr<FakeStorer>::Adopt(new FakeStorer);

    result_t GetInterface(ulk::iid_t iid, std::uint32_t, void** out) noexcept override {
        *out = nullptr;
        if (ULK_SUCCEEDED(tasks->QueryInterface(iid, out)))
            return ulk::sOk;
        if (ULK_SUCCEEDED(settings->QueryInterface(iid, out)))
            return ulk::sOk;
        if (ULK_SUCCEEDED(storer->QueryInterface(iid, out)))
            return ulk::sOk;
        if (appInfo && ULK_SUCCEEDED(appInfo->QueryInterface(iid, out)))
            return ulk::sOk;
        return subscriber->QueryInterface(iid, out);
    }
};

} // namespace tfs::control::test
